#pragma once
// The commands of sbtool, one source file each; main.cpp lists them in its table.

#include "cli.h"

namespace sbtool {

extern const Command formatCommand;  // cmd_format.cpp

}  // namespace sbtool
