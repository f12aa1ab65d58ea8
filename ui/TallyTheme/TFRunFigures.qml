import QtQuick
import TallyFold

// How far a run is, in words: the most that fits, or else the least.
TFStaticText {
    id: root

    required property RunStatus status
    // How far it is where there is nothing else to tell.
    property string figure

    function wordsFor(room: real): string {
        const shorter = status.shorterFigures;
        return [status.figures, ...shorter].find(words => metrics.advanceWidth(words) <= room) ?? shorter[shorter.length - 1];
    }

    text: status.file !== "" ? wordsFor(width) : figure
    color: TallyTheme.secondary
    elide: Text.ElideRight
    font.pixelSize: TallyTheme.captionSize

    FontMetrics {
        id: metrics

        font: root.font
    }
}
