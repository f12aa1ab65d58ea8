import QtQuick
import QtQuick.Templates as T
import TallyFold

// The lines of the list that are not understood.
ListView {
    id: warnings

    required property AppViewModel viewModel

    spacing: TallyTheme.space2
    clip: true
    activeFocusOnTab: true
    boundsBehavior: Flickable.StopAtBounds
    model: viewModel.manifest.manifestWarnings
    Accessible.role: Accessible.List
    Accessible.name: qsTr("Warnings")

    header: TFStaticText {
        width: ListView.view.width
        height: implicitHeight + TallyTheme.space3
        text: warnings.viewModel.manifest.manifestWarningsSummary
        color: TallyTheme.secondary
        wrapMode: Text.Wrap
        verticalAlignment: Text.AlignTop
    }

    delegate: Item {
        id: warning

        required property string modelData

        width: ListView.view.width
        height: text.implicitHeight
        Accessible.role: Accessible.ListItem
        Accessible.name: modelData

        // As in a TFJobRow.
        Connections {
            function onAfterAnimating() {
                warning.Accessible.ignored = false;
            }

            target: warning.visible ? warning.Window.window : null
        }

        TFIcon {
            id: sign

            name: "exclamationmark.triangle.fill"
            color: TallyTheme.caution
        }

        TFText {
            id: text

            text: warning.modelData
            wrapMode: Text.Wrap

            anchors {
                left: sign.right
                right: parent.right
                leftMargin: TallyTheme.space2
            }
        }
    }

    TFFocusRing {
        visible: warnings.activeFocus
    }

    T.ScrollBar.vertical: TFScrollBar {
    }
}
