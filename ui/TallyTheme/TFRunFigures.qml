import QtQuick
import TallyFold

// How far a run is, in words: the most that fits, or else the least.
TFStaticText {
    id: root

    required property RunStatus status
    // "1 of 3 files": what the bar beside it shows, where there is one.
    property string figure

    text: {
        // The figures change whenever the file is told.
        if (status.file === "")
            return figure;
        const ways = status.figuresBehind(figure);
        return ways.find(words => metrics.advanceWidth(words) <= width) ?? ways[ways.length - 1];
    }
    color: TallyTheme.secondary
    elide: Text.ElideRight
    font.pixelSize: TallyTheme.captionSize

    FontMetrics {
        id: metrics

        font: root.font
    }
}
