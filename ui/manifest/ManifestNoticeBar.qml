import QtQuick
import TallyFold

// What was done last with the list, or with its report.
TFNoticeBar {
    id: root

    required property ManifestFlow manifest
    readonly property bool isCleared: manifest.clearedSentence !== ""

    visible: words !== ""
    words: {
        if (isCleared)
            return manifest.clearedSentence;
        return manifest.manifestExport.savedPlace === "" ? "" : qsTr("Saved to ");
    }
    place: isCleared ? "" : manifest.manifestExport.savedPlace
    isGood: !isCleared
    action: isCleared ? qsTr("Undo") : qsTr("Show")
    actionTip: isCleared ? "Ctrl+Z" : qsTr("Shows it in the file browser")
    onActed: {
        if (isCleared)
            manifest.undoClear();
        else
            manifest.manifestExport.showSaved();
    }
    onDismissed: {
        if (isCleared)
            manifest.dismissCleared();
        else
            manifest.manifestExport.dismiss();
    }

    Shortcut {
        enabled: root.visible && root.isCleared
        sequences: [StandardKey.Undo]
        onActivated: root.acted()
    }
}
