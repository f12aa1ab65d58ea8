import QtQuick
import TallyFold

// What was done last with the queue or its results.
TFNoticeBar {
    id: root

    required property AppViewModel viewModel
    readonly property filesNotice notice: viewModel.files.notice
    readonly property bool isSaved: notice.kind === FilesNotice.Saved

    visible: notice.kind !== FilesNotice.None
    words: notice.words
    place: notice.place
    remark: notice.remark
    isGood: isSaved
    action: isSaved ? qsTr("Show") : qsTr("Undo")
    actionTip: isSaved ? qsTr("Shows the report in the file browser") : "Ctrl+Z"
    onActed: {
        if (isSaved)
            viewModel.files.showSavedReport();
        else
            viewModel.files.undoClear();
    }
    onDismissed: viewModel.files.dismissNotice()

    Shortcut {
        enabled: root.visible && root.notice.kind === FilesNotice.Cleared
        sequences: [StandardKey.Undo]
        onActivated: root.acted()
    }
}
