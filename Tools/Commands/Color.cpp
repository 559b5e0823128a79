#include "Tools/Commands/AllCommands.h"
#include "Tools/Commands/SettingCommands.h"

namespace Tool {

Command gammaCommand() {
    return settingsCommand("gamma", "Show or change the gamma curve",
                           "-d tcp://projector:5000 gamma gamma-correction 5", "GammaInterface");
}

Command colorCommand() {
    return settingsCommand("color", "Show or change the colours",
                           "-d tcp://projector:5000 color color-temperature 6500", "ColorInterface");
}

}  // namespace Tool
