import QtQuick
import TallyFold

// How far a run is, in words: the most that fits, or else the least.
TFStaticText {
    id: root

    required property RunStatus status
    // "1 of 3 files": what the bar beside it shows, where there is one.
    property string figure

    // The bar beside it shows the figure; without that, a share of the bytes would read as what the bar is to show.
    function wordsFor(room: real): string {
        const ways = [status.figures, ...status.shorterFigures];
        const last = ways[ways.length - 1];
        const counted = figure === "" ? ways : ways.map(words => [figure, words].filter(part => part !== "").join(" · "));
        return counted.find(words => metrics.advanceWidth(words) <= room) ?? last;
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
