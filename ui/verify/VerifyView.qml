import QtQuick
import TallyFold

// Verify mode: one file against one pasted checksum.
TFScreen {
    id: root

    readonly property verifyVerdict verdict: viewModel.verify.verifyResult
    readonly property string recognition: viewModel.verify.recognition
    readonly property var candidates: viewModel.verify.verifyCandidates
    readonly property string inputRefusal: viewModel.verify.verifyInputRefusal
    readonly property int gap: isShort ? TallyTheme.space2 : TallyTheme.space3
    // Of a card, between its edge and its content.
    readonly property int inset: isShort ? TallyTheme.space2 : TallyTheme.space3

    mode: AppMode.Verify
    firstPlace: field.editor
    title: qsTr("Verify")
    subtitle: qsTr("Check a file against a checksum that you were given.")
    headerGutter: column.x
    leastHeight: column.y + column.height + TallyTheme.space4
    shown: {
        if (verdict.isPresent)
            return banner;
        return viewModel.verify.isVerifying ? row : null;
    }

    Column {
        id: column

        x: (parent.width - width) / 2
        y: root.header.y + root.header.height + (root.isShort ? TallyTheme.space2 : TallyTheme.space4)
        width: Math.min(parent.width - 2 * TallyTheme.space6, TallyTheme.columnWidth)
        spacing: root.gap

        TFFileCard {
            objectName: "verifyFile"
            width: parent.width
            title: qsTr("File")
            file: root.viewModel.verify.verifyFile
            isTargeted: dropZone.isTargeted
            refusal: root.inputRefusal
            proposal: root.viewModel.verify.proposedList
            onChooseRequested: root.viewModel.verify.chooseVerifyFile()
            onChosen: root.takeKeyboard()
            onProposalAccepted: root.viewModel.verify.useProposedList()
        }

        TFGlassCard {
            width: parent.width
            height: fields.implicitHeight + 2 * root.inset
            isTargeted: fieldZone.isTargeted

            // A list that is dropped here is looked into; elsewhere it would be the file.
            DropZone {
                id: fieldZone

                objectName: "fieldDropZone"
                anchors.fill: parent
                replaces: [...dropZone.replaces, root.viewModel.verify.expectedHash]
                enabled: dropZone.enabled
                onFilesDropped: files => root.viewModel.verify.dropOnField(files)
                onDropRefused: sentence => root.viewModel.errorMessage = sentence
            }

            Column {
                id: fields

                spacing: TallyTheme.space2

                anchors {
                    left: parent.left
                    right: parent.right
                    top: parent.top
                    margins: root.inset
                }

                Item {
                    width: parent.width
                    height: TallyTheme.controlHeight

                    TFText {
                        anchors.verticalCenter: parent.verticalCenter
                        text: qsTr("Checksum or checksum line")
                        font.weight: Font.Medium
                    }

                    TFButton {
                        objectName: "clearChecksum"
                        anchors.right: paste.left
                        anchors.rightMargin: TallyTheme.space2
                        visible: field.isAbridged
                        text: qsTr("Clear")
                        refusal: root.inputRefusal
                        onClicked: root.viewModel.verify.expectedHash = ""
                    }

                    TFButton {
                        id: paste

                        objectName: "pasteChecksum"
                        anchors.right: parent.right
                        text: qsTr("Paste")
                        icon: "doc.on.clipboard"
                        refusal: root.inputRefusal
                        onClicked: root.viewModel.verify.pasteExpectedHash()
                    }
                }

                Rectangle {
                    width: parent.width
                    height: TallyTheme.fieldHeight
                    radius: TallyTheme.controlRadius
                    color: TallyTheme.surface
                    border.width: field.editor.activeFocus ? TallyTheme.focusWidth : TallyTheme.lineWidth
                    border.color: field.editor.activeFocus ? TallyTheme.accent : TallyTheme.controlEdge

                    TFTextArea {
                        id: field

                        objectName: "checksumField"
                        anchors.fill: parent
                        anchors.margins: TallyTheme.focusWidth
                        isLeftByTab: true
                        viewModel: root.viewModel
                        submitsOnReturn: true
                        readOnly: root.inputRefusal !== ""
                        name: qsTr("Checksum or checksum line")
                        hint: root.viewModel.verify.expectedHashHint
                        font.family: TallyTheme.digestFont
                        font.pixelSize: TallyTheme.digestSize
                        onEdited: root.viewModel.verify.expectedHash = content
                        onSubmitted: act.startOrCancel()

                        // Not a binding: the editor may answer at once, with other ends of lines.
                        Connections {
                            target: root.viewModel.verify
                            Component.onCompleted: onExpectedHashChanged()

                            function onExpectedHashChanged() {
                                field.show(root.viewModel.verify.expectedHash);
                            }
                        }
                    }
                }

                Item {
                    id: row

                    width: parent.width
                    height: Math.max(TallyTheme.controlHeight, readAs.visible ? readAs.height : told.height)

                    TFMenuButton {
                        id: algorithm

                        objectName: "verifyAlgorithm"
                        choices: root.viewModel.verify.verifyAlgorithms
                        choice: root.viewModel.verify.verifyAlgorithm
                        description: qsTr("Algorithm")
                        refusal: root.inputRefusal
                        onChosen: name => root.viewModel.verify.verifyAlgorithm = name
                    }

                    Column {
                        id: told

                        anchors {
                            left: algorithm.right
                            right: act.left
                            leftMargin: TallyTheme.space3
                            rightMargin: TallyTheme.space3
                            verticalCenter: parent.verticalCenter
                        }

                        TFStaticText {
                            objectName: "recognisedAlgorithm"
                            width: parent.width
                            visible: text !== ""
                            text: root.recognition + (root.recognition !== "" && field.abridgement !== "" ? " " : "") + field.abridgement
                            color: TallyTheme.secondary
                            wrapMode: Text.Wrap
                            font.pixelSize: TallyTheme.captionSize
                        }

                        TFProgress {
                            barName: "verifyProgress"
                            width: parent.width
                            visible: root.viewModel.verify.isVerifying
                            value: root.viewModel.verify.verifyProgress
                            label: qsTr("Verification")
                        }
                    }

                    TFReadAs {
                        id: readAs

                        visible: algorithms.length > 0
                        algorithms: root.verdict.isPresent ? [] : root.candidates
                        refusal: root.inputRefusal
                        onChosen: name => root.viewModel.verify.readAs(name)

                        anchors {
                            left: algorithm.right
                            right: act.left
                            leftMargin: TallyTheme.space3
                            rightMargin: TallyTheme.space3
                        }
                    }

                    TFRunButton {
                        id: act

                        objectName: "verify"
                        anchors.right: parent.right
                        verb: qsTr("Verify")
                        isRunning: root.viewModel.verify.isVerifying
                        startRefusal: root.viewModel.verify.verifyRefusal
                        onStarted: root.viewModel.verify.verifyUnlessRefused()
                        onCancelled: root.viewModel.verify.resetVerification()
                    }
                }

                // Below the buttons, which stay where they are.
                TFStaticText {
                    objectName: "verifyNotice"
                    width: parent.width
                    visible: text !== ""
                    text: root.viewModel.verify.verifyNotice
                    color: TallyTheme.secondary
                    wrapMode: Text.WrapAtWordBoundaryOrAnywhere
                }

                TFStaticText {
                    objectName: "verifyCaution"
                    width: parent.width
                    visible: text !== ""
                    text: root.viewModel.verify.verifyCaution
                    color: TallyTheme.caution
                    wrapMode: Text.WrapAtWordBoundaryOrAnywhere
                }
            }
        }

        TFVerdict {
            id: banner

            objectName: "verdict"
            width: parent.width
            visible: root.verdict.isPresent
            icon: TallyTheme.iconOfVerification(root.verdict.kind)
            title: root.verdict.title
            tone: root.verdict.tone

            TFStaticText {
                objectName: "verdictDetails"
                width: parent.width
                visible: text !== ""
                text: root.verdict.details
                wrapMode: Text.WrapAtWordBoundaryOrAnywhere
            }

            TFReadAs {
                width: parent.width
                topPadding: TallyTheme.space1
                visible: algorithms.length > 0
                algorithms: root.verdict.kind === VerifyVerdict.AmbiguousExpectedHash ? root.candidates : []
                onChosen: name => root.viewModel.verify.readAs(name)
            }

            Repeater {
                model: root.verdict.digests

                Item {
                    id: line

                    required property digestLine modelData

                    width: parent.width
                    height: digest.implicitHeight + TallyTheme.space1

                    TFText {
                        id: label

                        width: TallyTheme.verdictLabelWidth
                        text: line.modelData.label
                        color: TallyTheme.secondary
                    }

                    TFSelectableText {
                        id: digest

                        objectName: "verdict " + line.modelData.label
                        anchors.left: label.right
                        width: widthOf(line.width - x)
                        name: line.modelData.label
                        text: line.modelData.digest
                        mark: root.verdict.difference
                    }
                }
            }
        }
    }

    // A file may be dropped anywhere on the screen.
    DropZone {
        id: dropZone

        readonly property fileCard file: root.viewModel.verify.verifyFile

        objectName: "verifyDropZone"
        anchors.fill: parent
        z: -1
        replaces: [file.folder, file.name]
        enabled: root.inputRefusal === ""
        onFilesDropped: files => root.viewModel.verify.dropVerify(files)
        onDropRefused: sentence => root.viewModel.errorMessage = sentence
    }

    Shortcut {
        enabled: root.visible
        sequences: [StandardKey.Open]
        onActivated: root.viewModel.verify.chooseVerifyFile()
    }
}
