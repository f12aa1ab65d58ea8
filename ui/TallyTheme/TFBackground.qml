import QtQuick
import TallyFold

// The gradient behind everything.
Rectangle {
    gradient: Gradient {
        GradientStop {
            position: 0
            color: TallyTheme.backgroundTop
        }

        GradientStop {
            position: 1
            color: TallyTheme.backgroundBottom
        }
    }
}
