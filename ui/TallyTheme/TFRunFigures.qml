import QtQuick
import TallyFold

// How far a run is, in words: the most that fits, or else the least.
TFStaticText {
    id: root

    required property RunStatus status
    // How far it is where there is nothing else to tell.
    property string figure

    function wordsFor(room: real): string {
        const figures = [status.figures, ...status.shorterFigures];
        return figures.find(words => metrics.advanceWidth(words) <= room) ?? figures[figures.length - 1];
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
