import QtQuick
import QtQuick.Window
import TallyFold

// The settings window. There is nothing to set: it says what the program is.
Window {
    id: panel

    function open() {
        x = transientParent.x + (transientParent.width - width) / 2;
        y = transientParent.y + (transientParent.height - height) / 2;
        show();
        raise();
        requestActivate();
    }

    // What fits: the window's size and its bounds follow from this alone, and none of them from another.
    readonly property real contentHeight: content.implicitHeight + 2 * TallyTheme.space6

    objectName: "aboutPanel"
    title: qsTr("Settings")
    flags: Qt.Dialog
    width: TallyTheme.aboutWidth
    height: contentHeight
    minimumWidth: TallyTheme.aboutWidth
    maximumWidth: TallyTheme.aboutWidth
    minimumHeight: contentHeight
    maximumHeight: contentHeight
    color: TallyTheme.backgroundBottom

    TFBackground {
        anchors.fill: parent
    }

    Column {
        id: content

        spacing: TallyTheme.aboutSpacing

        anchors {
            left: parent.left
            right: parent.right
            verticalCenter: parent.verticalCenter
            margins: TallyTheme.space6
        }

        TFText {
            objectName: "aboutTitle"
            text: "Tally Fold"
            font.pixelSize: TallyTheme.titleSize
            font.weight: Font.Bold
            Accessible.role: Accessible.Heading
            Accessible.name: text
        }

        TFStaticText {
            text: qsTr("Local checksum and file-integrity utility.")
        }

        Rectangle {
            width: parent.width
            height: TallyTheme.lineWidth
            color: TallyTheme.hairline
        }

        TFStaticText {
            text: qsTr("No telemetry. No network access required.")
            color: TallyTheme.secondary
            font.pixelSize: TallyTheme.captionSize
        }

        TFStaticText {
            text: qsTr("Version %1").arg(DesktopSettings.version)
            color: TallyTheme.secondary
            font.pixelSize: TallyTheme.captionSize
        }

        TFButton {
            objectName: "donationLink"
            visible: DesktopSettings.donationUrl !== ""
            text: qsTr("Support via Revolut")
            icon: "heart"
            onClicked: Qt.openUrlExternally(DesktopSettings.donationUrl)
        }

        TFButton {
            objectName: "contactLink"
            visible: DesktopSettings.contactLine !== "" && DesktopSettings.contactUrl !== ""
            text: DesktopSettings.contactLine
            isBorderless: true
            onClicked: Qt.openUrlExternally(DesktopSettings.contactUrl)
        }

        TFText {
            objectName: "contactText"
            visible: DesktopSettings.contactLine !== "" && DesktopSettings.contactUrl === ""
            text: DesktopSettings.contactLine
            color: TallyTheme.secondary
            font.pixelSize: TallyTheme.captionSize
        }
    }

    Shortcut {
        sequences: ["Esc", "Ctrl+W"]
        onActivated: panel.close()
    }
}
