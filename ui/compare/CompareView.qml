import QtQuick
import TallyFold

// Compare mode: two files, byte for byte.
TFScreen {
    id: root

    readonly property compareVerdict verdict: viewModel.compare.compareResult
    readonly property DifferenceSearch differences: viewModel.compare.differences
    readonly property string inputRefusal: viewModel.compare.compareInputRefusal
    readonly property int gap: isShort ? TallyTheme.space2 : TallyTheme.space4

    mode: AppMode.Compare
    leastHeight: (outcome.visible ? outcome.y + outcome.height : row.y + row.height) + (isShort ? gap : gutter)
    shown: {
        if (differences.isWorking)
            return ask;
        if (verdict.isPresent)
            return outcome;
        return viewModel.compare.isComparing ? row : null;
    }
    firstPlace: {
        if (differences.isWorking || ask.visible && ask.place.focus)
            return ask.place;
        if (first.isEmpty)
            return first.choosePlace;
        if (second.isEmpty)
            return second.choosePlace;
        return act.refusal === "" ? act.place : first.choosePlace;
    }
    title: qsTr("Compare")
    subtitle: qsTr("Perform an exact byte-for-byte comparison and locate the first mismatch.")

    Item {
        id: cards

        height: Math.max(root.isShort ? TallyTheme.listCardHeight : TallyTheme.fileCardHeight, first.implicitHeight, second.implicitHeight)

        anchors {
            left: parent.left
            right: parent.right
            top: root.header.bottom
            margins: root.gutter
            topMargin: root.gap
        }

        TFFileCard {
            id: first

            objectName: "compareFirst"
            width: (parent.width - swap.width) / 2 - TallyTheme.space2
            height: parent.height
            title: qsTr("File A")
            tip: "Ctrl+O"
            file: root.viewModel.compare.compareFirstFile
            isTargeted: firstZone.isTargeted
            refusal: root.inputRefusal
            onChooseRequested: root.viewModel.compare.chooseCompareFile(false)
            onChosen: root.takeKeyboard()
        }

        TFIconButton {
            id: swap

            objectName: "swapFiles"
            anchors.centerIn: parent
            name: qsTr("Swap")
            icon: "arrow.left.arrow.right"
            refusal: root.inputRefusal
            onClicked: root.viewModel.compare.swapCompareFiles()
        }

        TFFileCard {
            id: second

            objectName: "compareSecond"
            anchors.right: parent.right
            width: (parent.width - swap.width) / 2 - TallyTheme.space2
            height: parent.height
            title: qsTr("File B")
            tip: "Ctrl+Shift+O"
            file: root.viewModel.compare.compareSecondFile
            isTargeted: secondZone.isTargeted
            refusal: root.inputRefusal
            onChooseRequested: root.viewModel.compare.chooseCompareFile(true)
            onChosen: root.takeKeyboard()
        }
    }

    Item {
        id: row

        height: TallyTheme.controlHeight

        anchors {
            left: parent.left
            right: parent.right
            top: cards.bottom
            margins: root.gutter
            topMargin: root.gap
        }

        TFProgress {
            barName: "compareProgress"
            visible: root.viewModel.compare.isComparing
            value: root.viewModel.compare.compareProgress
            label: qsTr("Comparison")

            anchors {
                left: parent.left
                right: act.left
                rightMargin: TallyTheme.space3
                verticalCenter: parent.verticalCenter
            }
        }

        TFRunButton {
            id: act

            objectName: "compare"
            anchors.right: parent.right
            verb: qsTr("Compare")
            isRunning: root.viewModel.compare.isComparing
            startRefusal: root.differences.isWorking ? root.inputRefusal : root.viewModel.compare.compareRefusal
            onStarted: root.viewModel.compare.compare()
            onCancelled: root.viewModel.compare.resetComparison()
        }
    }

    Column {
        id: outcome

        visible: root.verdict.isPresent
        spacing: root.gap

        anchors {
            left: parent.left
            right: parent.right
            top: row.bottom
            margins: root.gutter
            topMargin: root.gap
        }

        TFVerdict {
            id: comparison

            objectName: "comparison"
            width: parent.width
            icon: TallyTheme.iconOfComparison(root.verdict.kind)
            title: root.verdict.title
            tone: root.verdict.tone

            Repeater {
                model: root.verdict.details

                TFStaticText {
                    required property string modelData
                    required property int index

                    objectName: "comparisonDetail" + index
                    width: parent.width
                    text: modelData
                    wrapMode: Text.Wrap
                    // Some faces make a sign of multiplication of the letter in 0x10.
                    font.preferShaping: false
                }
            }

            Repeater {
                model: root.differences.answers

                TFStaticText {
                    required property string modelData
                    required property int index

                    objectName: "comparisonAnswer" + index
                    width: parent.width
                    text: modelData
                    wrapMode: Text.Wrap
                }
            }

            Item {
                // No wider than the eye follows from the button.
                width: Math.min(parent.width, ask.width + TallyTheme.space3 + TallyTheme.readingWidth)
                // With room for the ring around the button, below the line above.
                height: Math.max(ask.height, told.visible ? told.height : reason.height) + TallyTheme.space1
                visible: root.differences.action !== ""

                TFStaticText {
                    id: reason

                    visible: !told.visible
                    text: root.differences.reason
                    color: TallyTheme.secondary
                    wrapMode: Text.Wrap

                    anchors {
                        left: ask.right
                        right: parent.right
                        leftMargin: TallyTheme.space3
                        verticalCenter: ask.verticalCenter
                    }
                }

                Column {
                    id: told

                    visible: root.differences.isWorking

                    anchors {
                        left: ask.right
                        right: parent.right
                        leftMargin: TallyTheme.space3
                        verticalCenter: ask.verticalCenter
                    }

                    TFProgressBar {
                        objectName: "differenceProgress"
                        width: parent.width
                        value: root.differences.runStatus.fraction
                        Accessible.name: root.differences.action
                    }

                    TFRunFigures {
                        objectName: "differenceFigures"
                        width: parent.width
                        status: root.differences.runStatus
                    }
                }

                TFButton {
                    id: ask

                    objectName: "askForMore"
                    anchors.verticalCenter: parent.verticalCenter
                    anchors.verticalCenterOffset: TallyTheme.space0
                    // As wide as it was.
                    width: Math.max(implicitWidth, askMetrics.advanceWidth(root.differences.action) + 2 * TallyTheme.space3)
                    isRunning: root.differences.isWorking
                    text: isRunning ? qsTr("Cancel") : root.differences.action
                    tip: isRunning ? "Esc" : ""
                    onClicked: {
                        if (isRunning)
                            root.differences.cancel();
                        else
                            root.differences.start();
                    }

                    FontMetrics {
                        id: askMetrics

                        font.pixelSize: TallyTheme.bodySize
                        font.weight: Font.Medium
                    }

                    Shortcut {
                        enabled: ask.visible && root.differences.isWorking
                        sequence: "Esc"
                        onActivated: root.differences.cancel()
                    }
                }
            }
        }

        DifferenceCard {
            width: parent.width
            visible: rows.text !== ""
            differences: root.differences
            height: implicitHeight
        }
    }

    // Each half of the screen takes the file of its side; two files dropped together are both.
    DropZone {
        id: firstZone

        readonly property fileCard file: root.viewModel.compare.compareFirstFile

        width: parent.width / 2
        height: parent.height
        z: -1
        replaces: [file.folder, file.name]
        enabled: root.inputRefusal === ""
        onFilesDropped: files => root.viewModel.compare.setCompareFiles(files, false)
        onDropRefused: sentence => root.viewModel.errorMessage = sentence
    }

    DropZone {
        id: secondZone

        readonly property fileCard file: root.viewModel.compare.compareSecondFile

        x: parent.width / 2
        width: parent.width / 2
        height: parent.height
        z: -1
        replaces: [file.folder, file.name]
        enabled: root.inputRefusal === ""
        onFilesDropped: files => root.viewModel.compare.setCompareFiles(files, true)
        onDropRefused: sentence => root.viewModel.errorMessage = sentence
    }

    Shortcut {
        enabled: root.visible && root.inputRefusal === ""
        sequences: [StandardKey.Open]
        onActivated: root.viewModel.compare.chooseCompareFile(false)
    }

    Shortcut {
        enabled: root.visible && root.inputRefusal === ""
        sequence: "Ctrl+Shift+O"
        onActivated: root.viewModel.compare.chooseCompareFile(true)
    }
}
