import QtQuick
import QtQuick.Templates as T
import QtQuick.Window
import TallyFold

// Makes a checksum list of all files below the root folder: what it is to hold, how far it is, what came of it.
TFSheet {
    id: root

    required property AppViewModel viewModel
    readonly property ListCreationFlow creation: viewModel.listCreation
    readonly property listCreationVerdict verdict: creation.verdict
    readonly property bool isMade: creation.saveRefusal === ""

    objectName: "listCreation"
    height: Math.min(implicitHeight, (parent ? parent.height : implicitHeight) - TallyTheme.space8)
    width: Math.min(TallyTheme.sheetWidth, (parent ? parent.width : TallyTheme.sheetWidth) - TallyTheme.space8)
    closePolicy: creation.isWorking ? T.Popup.NoAutoClose : T.Popup.CloseOnEscape
    onOpened: {
        if (isMade)
            made.restart();
        else
            create.takeFocus();
    }
    onAboutToShow: creation.isOpen = true
    onClosed: creation.isOpen = false
    onIsMadeChanged: made.restart()

    contentItem: Item {
        implicitHeight: content.implicitHeight + TallyTheme.space4 + buttons.implicitHeight
        Accessible.role: Accessible.Dialog
        Accessible.name: title.text

        // What has no room scrolls; the buttons stay.
        Flickable {
            id: viewport

            readonly property Item place: Window.activeFocusItem

            function reveal(item: Item) {
                let part = item;
                while (part && part !== content)
                    part = part.parent;
                if (!part)
                    return;
                const top = item.mapToItem(content, 0, 0).y;
                const bottom = top + item.height + TallyTheme.space2;
                contentY = Math.max(0, Math.min(Math.max(contentY, bottom - height), top, contentHeight - height));
            }

            // Room for the rings around what stands at its edges, and for the scroll bar beside it.
            x: -TallyTheme.space2
            width: parent.width + TallyTheme.space2 + TallyTheme.space5
            height: parent.height - buttons.height - TallyTheme.space4
            contentHeight: content.implicitHeight
            clip: true
            boundsBehavior: Flickable.StopAtBounds
            // What gets the keys is seen.
            onPlaceChanged: reveal(place)
            // The sheet takes its height after what is in it.
            onHeightChanged: returnToBounds()

            T.ScrollBar.vertical: TFScrollBar {
            }

            Column {
                id: content

                x: TallyTheme.space2
                width: viewport.parent.width
                spacing: TallyTheme.space3

                TFText {
                    id: title

                    text: qsTr("Create Checksum List")
                    font.pixelSize: TallyTheme.sectionSize
                    font.weight: Font.DemiBold
                }

                TFPathText {
                    width: parent.width
                    path: root.creation.folder
                }

                Heading {
                    text: qsTr("Algorithms")
                }

                Flow {
                    width: parent.width
                    spacing: TallyTheme.chipSpacing

                    Repeater {
                        model: root.viewModel.algorithms

                        TFChip {
                            required property string modelData

                            objectName: "list of " + modelData
                            text: modelData
                            refusal: root.creation.choiceRefusal
                            checked: root.creation.algorithms.includes(modelData)
                            onToggled: isOn => root.creation.setAlgorithmSelected(modelData, isOn)
                        }
                    }
                }

                Heading {
                    text: qsTr("Form")
                }

                Flow {
                    width: parent.width
                    spacing: TallyTheme.chipSpacing

                    Repeater {
                        model: root.creation.forms.length

                        TFChip {
                            required property int index
                            readonly property listForm form: root.creation.forms[index]

                            objectName: "list as " + form.label
                            isExclusive: true
                            text: form.label
                            refusal: form.refusal !== "" ? form.refusal : root.creation.choiceRefusal
                            checked: form.isChosen
                            onToggled: root.creation.chooseForm(index)
                        }
                    }
                }

                TFStaticText {
                    objectName: "listSample"
                    width: parent.width
                    text: root.creation.sample
                    color: TallyTheme.secondary
                    elide: Text.ElideRight
                    maximumLineCount: TallyTheme.sampleLines
                    font.family: TallyTheme.digestFont
                    font.pixelSize: TallyTheme.captionSize
                }

                TFVerdict {
                    id: verdict

                    objectName: "listVerdict"
                    width: parent.width
                    visible: root.verdict.title !== ""
                    icon: root.verdict.tone === Tone.Pending ? "checklist" : "exclamationmark.triangle.fill"
                    title: root.verdict.title
                    tone: root.verdict.tone
                    isBusy: root.creation.isWorking

                    TFStaticText {
                        objectName: "listVerdictDetails"
                        width: parent.width
                        visible: text !== ""
                        text: root.verdict.details
                        color: TallyTheme.secondary
                        wrapMode: Text.Wrap
                    }

                    TFStaticText {
                        width: parent.width
                        visible: root.creation.isWorking
                        text: root.creation.runStatus.file
                        color: TallyTheme.secondary
                        elide: Text.ElideMiddle
                        font.pixelSize: TallyTheme.captionSize
                    }

                    TFProgressBar {
                        objectName: "listProgress"
                        width: parent.width
                        visible: root.creation.progressFigure !== ""
                        value: root.creation.progress
                        Accessible.name: qsTr("Making of the list")
                    }

                    TFStaticText {
                        width: parent.width
                        visible: root.creation.isWorking
                        text: root.creation.runStatus.figures !== "" ? root.creation.runStatus.figures : root.creation.progressFigure
                        color: TallyTheme.secondary
                        elide: Text.ElideRight
                        font.pixelSize: TallyTheme.captionSize
                    }
                }

                ListView {
                    id: failures

                    objectName: "listFailures"
                    width: parent.width
                    height: Math.min(contentHeight, TallyTheme.leastListHeight)
                    visible: count > 0
                    clip: true
                    activeFocusOnTab: true
                    keyNavigationEnabled: true
                    boundsBehavior: Flickable.StopAtBounds
                    model: root.creation.failures
                    Accessible.role: Accessible.List
                    Accessible.name: qsTr("Not in the list")

                    T.ScrollBar.vertical: TFScrollBar {
                    }

                    delegate: Column {
                        id: failure

                        required property string path
                        required property string message

                        width: failures.width - TallyTheme.space4
                        bottomPadding: TallyTheme.space1
                        Accessible.role: Accessible.ListItem
                        Accessible.name: path + ": " + message

                        TFNameText {
                            width: parent.width
                            text: failure.path
                        }

                        TFText {
                            width: parent.width
                            text: failure.message
                            color: TallyTheme.bad
                            wrapMode: Text.Wrap
                            font.pixelSize: TallyTheme.captionSize
                        }
                    }

                    TFFocusRing {
                        visible: failures.activeFocus
                    }
                }
            }
        }

        Row {
            id: buttons

            anchors.right: parent.right
            anchors.bottom: parent.bottom
            spacing: TallyTheme.space2

            TFButton {
                objectName: "closeList"
                text: qsTr("Close")
                refusal: root.creation.choiceRefusal
                onClicked: root.close()
            }

            TFButton {
                id: create

                objectName: "createList"
                isRunning: root.creation.isWorking
                text: isRunning ? qsTr("Cancel") : qsTr("Calculate")
                tip: isRunning ? "Esc" : "Ctrl+Return"
                isProminent: !root.isMade && !isRunning
                refusal: isRunning ? "" : root.creation.createRefusal
                onClicked: {
                    if (isRunning)
                        root.creation.cancel();
                    else
                        root.creation.create();
                }
            }

            TFButton {
                id: save

                objectName: "saveList"
                text: qsTr("Save…")
                isProminent: root.isMade
                refusal: root.creation.saveRefusal
                onClicked: root.creation.save()
            }
        }

        Shortcut {
            enabled: root.creation.isWorking
            sequence: "Esc"
            onActivated: root.creation.cancel()
        }

        Shortcut {
            enabled: root.opened
            sequences: ["Ctrl+Return", "Ctrl+Enter"]
            autoRepeat: false
            onActivated: {
                if (root.isMade)
                    root.creation.save();
                else
                    root.creation.create();
            }
        }

        // The window's own is none of the sheet's.
        Shortcut {
            enabled: root.opened
            sequence: "Ctrl+Q"
            onActivated: root.parent.Window.window.close()
        }

        // Behind what the new state changes: until then the button takes no focus, and the verdict has no place.
        Timer {
            id: made

            interval: 0
            onTriggered: {
                // An alert keeps the keys.
                if (root.isMade && root.viewModel.errorMessage === "")
                    save.takeFocus();
                if (verdict.visible)
                    viewport.reveal(verdict);
            }
        }
    }

    component Heading: TFText {
        color: TallyTheme.secondary
        font.pixelSize: TallyTheme.captionSize
        font.weight: Font.Medium
        Accessible.role: Accessible.Heading
        Accessible.name: text
    }

    Connections {
        target: root.creation

        function onSaved() {
            root.close();
        }
    }
}
