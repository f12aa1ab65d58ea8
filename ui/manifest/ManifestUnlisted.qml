import QtQuick
import TallyFold

// The files of the folder that the list does not name.
FocusScope {
    id: root

    required property AuditFlow audit
    required property TFMenu menu
    readonly property alias list: files
    readonly property bool hasRows: files.count > 0

    signal copyRequested

    TFStaticText {
        id: remarks

        objectName: "unlistedRemarks"
        visible: text !== ""
        text: root.audit.remarks
        color: TallyTheme.secondary
        wrapMode: Text.Wrap
        // The rows come first; all of it is read out.
        maximumLineCount: 3
        elide: Text.ElideRight

        anchors {
            left: parent.left
            right: parent.right
            top: parent.top
            leftMargin: TallyTheme.space3
            rightMargin: TallyTheme.space3
            topMargin: TallyTheme.space2
        }
    }

    TFJobList {
        id: files

        objectName: "unlistedList"
        focus: true
        lineHeight: TallyTheme.listRowHeight
        menu: root.menu
        model: root.audit.unlisted
        Accessible.name: qsTr("Files that are not in the list")
        onCopyRequested: root.copyRequested()

        anchors {
            left: parent.left
            right: parent.right
            top: remarks.visible ? remarks.bottom : parent.top
            bottom: parent.bottom
            topMargin: remarks.visible ? TallyTheme.space2 : 0
        }

        delegate: TFJobRow {
            id: row

            required property string path
            required property string note

            Accessible.name: path
            Accessible.description: row.note

            contentItem: Item {
                implicitHeight: TallyTheme.listRowHeight + (noteText.visible ? noteText.height + TallyTheme.space2 : 0)

                TFText {
                    id: noteText

                    objectName: "note"
                    visible: text !== ""
                    text: row.note
                    color: TallyTheme.secondary
                    wrapMode: Text.Wrap

                    anchors {
                        left: icon.right
                        right: parent.right
                        leftMargin: TallyTheme.space3
                        rightMargin: TallyTheme.space3
                        bottom: parent.bottom
                        bottomMargin: TallyTheme.space2
                    }
                }

                TFIcon {
                    id: icon

                    x: TallyTheme.space3
                    y: (TallyTheme.listRowHeight - height) / 2
                    name: "doc"
                    color: TallyTheme.tertiary
                }

                TFNameText {
                    objectName: "path"
                    text: row.path
                    font.weight: Font.Medium

                    anchors {
                        left: icon.right
                        right: parent.right
                        leftMargin: TallyTheme.space3
                        rightMargin: TallyTheme.space3
                        verticalCenter: icon.verticalCenter
                    }
                }
            }
        }
    }
}
