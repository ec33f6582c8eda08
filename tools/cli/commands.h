#pragma once
// The commands of sbtool, one source file each; main.cpp lists them in its table.

#include "cli.h"

namespace sbtool {

extern const Command formatCommand;    // cmd_format.cpp
extern const Command previewCommand;   // cmd_preview.cpp
extern const Command printCommand;     // cmd_print.cpp
extern const Command printersCommand;  // cmd_printers.cpp
extern const Command statusCommand;    // cmd_status.cpp
extern const Command profilesCommand;  // cmd_profiles.cpp
extern const Command settingsCommand;  // cmd_settings.cpp
extern const Command busCommand;       // cmd_bus.cpp

}  // namespace sbtool
