import QtQuick
import TallyFold

// One entry of a checksum list: where it stands, and the two digests where they differ.
TFJobRow {
    id: root

    required property string number
    required property string path
    required property string algorithm
    required property int state
    required property string status
    required property int tone
    required property string expected
    required property string actual
    required property int difference
    required property string sizeNote
    required property string note
    required property RunStatus runStatus
    // Room for the largest line number of the list.
    required property real numberWidth
    readonly property bool hasFailed: state === ManifestJobListModel.Failed
    readonly property bool isMismatch: state === ManifestJobListModel.Mismatch
    readonly property color toneColor: TallyTheme.toneColor(tone)
    // Its file takes long enough for the row to tell how far it is.
    property bool isLong: false

    isBad: hasFailed || isMismatch
    Accessible.name: qsTr("Line %1, %2, %3, %4").arg(number).arg(path).arg(algorithm).arg(status)
    Accessible.description: isMismatch ? (qsTr("Expected: ") + expected + " " + sizeNote).trim() : note

    onStateChanged: isLong = false

    Timer {
        interval: TallyTheme.longWorkDelay
        running: root.state === ManifestJobListModel.Verifying
        onTriggered: root.isLong = true
    }

    contentItem: Column {
        id: content

        Item {
            width: parent.width
            height: TallyTheme.listRowHeight

            TFIcon {
                id: icon

                anchors.verticalCenter: parent.verticalCenter
                x: TallyTheme.space3
                visible: root.state !== ManifestJobListModel.Verifying
                name: TallyTheme.iconOfEntry(root.state)
                color: root.toneColor
            }

            TFSpinner {
                anchors.fill: icon
                visible: root.state === ManifestJobListModel.Verifying
            }

            TFText {
                id: numberText

                width: root.numberWidth
                text: root.number
                color: TallyTheme.tertiary
                horizontalAlignment: Text.AlignRight
                font.pixelSize: TallyTheme.captionSize

                anchors {
                    left: icon.right
                    leftMargin: TallyTheme.space3
                    verticalCenter: parent.verticalCenter
                }
            }

            TFNameText {
                id: pathText

                objectName: "path"
                text: root.path
                font.weight: Font.Medium

                anchors {
                    left: numberText.right
                    right: algorithmText.left
                    leftMargin: TallyTheme.space3
                    rightMargin: TallyTheme.space3
                    verticalCenter: parent.verticalCenter
                }
            }

            TFText {
                id: algorithmText

                width: TallyTheme.listAlgorithmWidth
                text: root.algorithm
                color: TallyTheme.secondary
                font.pixelSize: TallyTheme.captionSize
                font.weight: Font.Medium

                anchors {
                    right: statusText.left
                    rightMargin: TallyTheme.space3
                    verticalCenter: parent.verticalCenter
                }
            }

            TFText {
                id: statusText

                objectName: "status"
                width: TallyTheme.listStatusWidth
                text: root.isMismatch ? qsTr("Mismatch") : root.hasFailed ? qsTr("Failed") : root.status
                color: root.toneColor
                font.weight: Font.Medium

                anchors {
                    right: parent.right
                    rightMargin: TallyTheme.space3
                    verticalCenter: parent.verticalCenter
                }
            }
        }

        Loader {
            x: pathText.x
            width: parent.width - x - TallyTheme.space3
            active: root.isLong && root.runStatus.fraction > 0
            visible: active

            sourceComponent: TFProgress {
                height: TallyTheme.smallControlHeight
                barName: "entryProgress"
                value: root.runStatus.fraction
                label: root.path
            }
        }

        Loader {
            x: pathText.x
            width: parent.width - x - TallyTheme.space3
            active: root.hasFailed
            visible: active

            sourceComponent: Column {
                spacing: TallyTheme.space1
                bottomPadding: TallyTheme.space2

                TFText {
                    objectName: "message"
                    width: parent.width
                    text: root.status
                    color: TallyTheme.bad
                    wrapMode: Text.Wrap
                }

                TFText {
                    objectName: "note"
                    width: parent.width
                    visible: text !== ""
                    text: root.note
                    color: TallyTheme.secondary
                    wrapMode: Text.Wrap
                }
            }
        }

        Loader {
            x: numberText.x
            width: parent.width - x - TallyTheme.space3
            active: root.isMismatch
            visible: active

            sourceComponent: Column {
                spacing: TallyTheme.space1
                bottomPadding: TallyTheme.space2

                Repeater {
                    model: [qsTr("Expected: "), qsTr("Mismatch. Actual: ")]

                    Item {
                        id: line

                        required property int index
                        required property string modelData

                        width: parent.width
                        height: digest.implicitHeight

                        TFText {
                            id: label

                            width: TallyTheme.expectedLabelWidth
                            text: line.modelData
                            color: line.index === 0 ? TallyTheme.secondary : TallyTheme.bad
                        }

                        TFSelectableText {
                            id: digest

                            objectName: line.index === 0 ? "expected" : "actual"
                            anchors.left: label.right
                            width: widthOf(line.width - x)
                            name: line.modelData
                            text: line.index === 0 ? root.expected : root.actual
                            mark: line.index === 0 ? -1 : root.difference
                            isTabStop: root.isCurrent
                        }
                    }
                }

                TFText {
                    objectName: "sizeNote"
                    width: parent.width
                    visible: text !== ""
                    text: root.sizeNote
                    color: TallyTheme.secondary
                }
            }
        }
    }
}
