import QtQuick
import TallyFold

// Starts what a screen is for, and cancels it while it runs: also with Ctrl+Return and Esc.
TFButton {
    id: button

    // What it starts, in a word.
    required property string verb
    // Why it cannot be started now; empty when it can.
    property string startRefusal

    // The keys ask for it even while it is refused.
    signal started
    signal cancelled

    function startOrCancel() {
        if (isRunning)
            cancelled();
        else
            started();
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
        // Taken even in mid-run: a button with the focus would be pressed by it.
        onActivated: {
            if (!button.isRunning)
                button.started();
        }
    }

    Shortcut {
        enabled: button.visible && button.isRunning
        sequence: "Esc"
        onActivated: button.cancelled()
    }
}
