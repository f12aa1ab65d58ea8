import QtQuick
import TallyFold

// What was done last with the list, or with its report.
TFNoticeBar {
    id: root

    required property ManifestFlow manifest
    // A report that is saved by now was saved last.
    readonly property bool isSaved: manifest.manifestExport.savedPlace !== ""

    visible: isSaved || manifest.clearedSentence !== ""
    words: isSaved ? qsTr("Saved to ") : manifest.clearedSentence
    place: manifest.manifestExport.savedPlace
    isGood: isSaved
    action: isSaved ? qsTr("Show") : qsTr("Undo")
    actionTip: isSaved ? qsTr("Shows it in the file browser") : "Ctrl+Z"
    onActed: {
        if (isSaved)
            manifest.manifestExport.showSaved();
        else
            manifest.undoClear();
    }
    onDismissed: {
        if (isSaved)
            manifest.manifestExport.dismiss();
        else
            manifest.dismissCleared();
    }

    Shortcut {
        enabled: root.visible && root.manifest.clearedSentence !== ""
        sequences: [StandardKey.Undo]
        onActivated: root.manifest.undoClear()
    }
}
