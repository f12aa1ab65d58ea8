import QtQuick
import QtQuick.Templates as T
import TallyFold

// Text mode: type or paste, and every selected checksum is there.
TFScreen {
    id: root

    readonly property int gap: isShort ? TallyTheme.space2 : TallyTheme.space4
    // What everything but the checksums needs at the least.
    readonly property real leastRest: header.y + header.height + gap + TallyTheme.leastEditorHeight + count.height + TallyTheme.space4 + TallyTheme.space4

    mode: AppMode.Text
    leastHeight: leastRest + Math.min(TallyTheme.leastListHeight, rowsCard.wantedHeight)
    firstPlace: editor.editor
    title: qsTr("Text Hashing")
    subtitle: qsTr("Calculate the checksums of a piece of text as it is typed.")

    TFGlassCard {
        id: editorCard

        border.width: editor.editor.activeFocus ? TallyTheme.focusWidth : TallyTheme.lineWidth
        border.color: editor.editor.activeFocus ? TallyTheme.accent : TallyTheme.controlEdge

        anchors {
            left: parent.left
            right: parent.right
            top: root.header.bottom
            bottom: count.top
            topMargin: root.gap
            bottomMargin: TallyTheme.space1
            leftMargin: root.gutter
            rightMargin: root.gutter
        }

        TFTextArea {
            id: editor

            objectName: "textEditor"
            anchors.fill: parent
            anchors.margins: TallyTheme.focusWidth
            viewModel: root.viewModel
            name: qsTr("Text to hash")
            hint: qsTr("Type or paste text here.")
            onEdited: root.viewModel.text.textInput = content

            // Not a binding: the editor may answer at once, with other ends of lines.
            Connections {
                target: root.viewModel.text
                Component.onCompleted: onTextInputChanged()

                function onTextInputChanged() {
                    editor.show(root.viewModel.text.textInput);
                }
            }
        }
    }

    Item {
        id: count

        height: TallyTheme.smallControlHeight

        anchors {
            left: parent.left
            right: parent.right
            bottom: rowsCard.top
            bottomMargin: TallyTheme.space2
            leftMargin: root.gutter
            rightMargin: root.gutter
        }

        TFStaticText {
            objectName: "byteCount"
            anchors.verticalCenter: parent.verticalCenter
            text: root.viewModel.text.textSize + (editor.isAbridged ? " · " + editor.abridgement : "")
            color: TallyTheme.secondary
            font.pixelSize: TallyTheme.captionSize
        }

        TFButton {
            objectName: "clearText"
            anchors.right: parent.right
            height: parent.height
            text: qsTr("Clear")
            isBorderless: true
            refusal: editor.text !== "" ? "" : qsTr("There is no text.")
            onClicked: {
                root.viewModel.text.textInput = "";
                editor.editor.forceActiveFocus();
            }
        }
    }

    TFGlassCard {
        id: rowsCard

        readonly property real wantedHeight: rows.contentHeight + 2 * TallyTheme.space2

        height: Math.min(wantedHeight, Math.max(Math.min(parent.height * (root.isShort ? 1 : TallyTheme.checksumsShare), parent.height - root.leastRest), TallyTheme.leastListHeight))

        anchors {
            left: parent.left
            right: parent.right
            bottom: parent.bottom
            margins: root.gutter
            bottomMargin: TallyTheme.space4
        }

        Flickable {
            id: rows

            anchors.fill: parent
            anchors.margins: TallyTheme.space2
            anchors.rightMargin: TallyTheme.space1
            clip: true
            boundsBehavior: Flickable.StopAtBounds
            contentHeight: column.implicitHeight

            T.ScrollBar.vertical: TFScrollBar {
            }

            Column {
                id: column

                width: rows.width - (rows.contentHeight > rows.height ? TallyTheme.space3 : 0)
                spacing: TallyTheme.space1

                Item {
                    width: parent.width
                    height: TallyTheme.controlHeight

                    TFText {
                        anchors.verticalCenter: parent.verticalCenter
                        x: TallyTheme.space2
                        text: qsTr("Checksums")
                        font.pixelSize: TallyTheme.sectionSize
                        font.weight: Font.DemiBold
                        Accessible.role: Accessible.Heading
                        Accessible.name: text
                    }

                    TFPresetsButton {
                        objectName: "textPresets"
                        anchors.right: parent.right
                        anchors.rightMargin: TallyTheme.space3
                        viewModel: root.viewModel
                    }
                }

                Repeater {
                    model: root.viewModel.algorithms

                    Item {
                        id: row

                        required property string modelData
                        readonly property string digest: root.viewModel.text.textHashes.digest(modelData)
                        property string lastDigest

                        onDigestChanged: {
                            if (digest !== "")
                                lastDigest = digest;
                        }

                        width: column.width
                        height: Math.max(TallyTheme.controlHeight, value.y + value.implicitHeight)

                        TFAlgorithmChip {
                            id: chip

                            objectName: "text algorithm " + row.modelData
                            width: TallyTheme.chipColumnWidth
                            algorithm: row.modelData
                            viewModel: root.viewModel
                        }

                        TFText {
                            id: label

                            anchors.left: chip.right
                            anchors.leftMargin: TallyTheme.space2
                            width: TallyTheme.classificationWidth
                            height: TallyTheme.controlHeight
                            text: root.viewModel.text.classification(row.modelData)
                            color: TallyTheme.tertiary
                            font.pixelSize: TallyTheme.captionSize
                        }

                        TFSelectableText {
                            id: value

                            objectName: "text digest " + row.modelData
                            y: TallyTheme.digestInset
                            anchors.left: label.right
                            width: widthOf(row.width - x - copy.width - TallyTheme.space1)
                            // The last digest fades while the next is calculated, instead of coming and going with every key.
                            name: row.digest !== "" ? row.modelData : qsTr("%1 of the text before").arg(row.modelData)
                            text: row.digest !== "" ? row.digest : chip.checked && root.viewModel.text.textError === "" ? row.lastDigest : ""
                            enabled: row.digest !== ""
                            opacity: enabled ? 1 : TallyTheme.disabledOpacity
                            expectedLength: chip.checked ? root.viewModel.text.digestLength(row.modelData) : 0
                        }

                        // Once, where the first of the digests would stand.
                        TFText {
                            objectName: visible ? "textError" : ""
                            anchors.left: value.left
                            anchors.right: copy.left
                            height: TallyTheme.controlHeight
                            visible: root.viewModel.text.textError !== "" && row.modelData === root.viewModel.selectedAlgorithms[0]
                            text: root.viewModel.text.textError
                            color: TallyTheme.bad
                            elide: Text.ElideRight
                            Accessible.role: Accessible.AlertMessage
                            Accessible.name: text
                        }

                        TFIconButton {
                            id: copy

                            objectName: "text copy " + row.modelData
                            anchors.left: value.right
                            anchors.leftMargin: TallyTheme.space1
                            y: TallyTheme.space0
                            name: qsTr("Copy %1").arg(row.modelData)
                            icon: "doc.on.doc"
                            isConfirmed: true
                            refusal: row.digest !== "" ? "" : qsTr("There is no %1 to copy.").arg(row.modelData)
                            onClicked: root.viewModel.text.copyTextHash(row.modelData)
                        }
                    }
                }
            }
        }
    }
}
