import QtQuick
import TallyFold

// Text that is read out on its own, and not as a part of what it stands in.
TFText {
    Accessible.role: Accessible.StaticText
    Accessible.name: text
}
