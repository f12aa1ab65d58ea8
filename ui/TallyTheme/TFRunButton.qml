import QtQuick
import TallyFold

// Starts what a screen is for, and cancels it while it runs: also with Ctrl+Return and Esc.
TFButton {
    id: button

    // What it starts, in a word.
    required property string verb
    property bool isRunning: false
    // Why it cannot be started now; empty when it can.
    property string startRefusal

    signal started
    // The keys ask for a start that is refused.
    signal startRefused
    signal cancelled

    function start() {
        if (isRunning)
            return;
        if (startRefusal === "")
            started();
        else
            startRefused();
    }

    function startOrCancel() {
        if (isRunning)
            cancelled();
        else
            start();
    }

    width: TallyTheme.runButtonWidth
    text: isRunning ? qsTr("Cancel") : verb
    isProminent: !isRunning
    tip: isRunning ? "Esc" : "Ctrl+Return"
    refusal: isRunning ? "" : startRefusal
    onClicked: startOrCancel()

    Shortcut {
        enabled: button.visible
        sequences: ["Ctrl+Return", "Ctrl+Enter"]
        autoRepeat: false
        onActivated: button.start()
    }

    Shortcut {
        enabled: button.visible && button.isRunning
        sequence: "Esc"
        onActivated: button.cancelled()
    }
}
