import QtQuick
import TallyFold

TFIcon {
    id: spinner

    name: "arrow.triangle.2.circlepath"
    color: TallyTheme.accent

    RotationAnimator {
        target: spinner
        running: spinner.visible && TallyTheme.isMotionWanted
        loops: Animation.Infinite
        from: 0
        to: 360
        duration: TallyTheme.spinDuration
    }
}
