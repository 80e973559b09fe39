#ifndef GCUSCHEMA_TOOL_COMPLETION_H
#define GCUSCHEMA_TOOL_COMPLETION_H

#include <string>

#include <CLI/CLI.hpp>

namespace gcuschema::tool {

// The bash completion script of the tool whose commands `app` holds: every
// command and option `app` defines (those left out of the help are taken
// but not offered), and the values each takes, by the name its help gives
// them (options.h) or by the members CLI::IsMember allows. The library's
// record names and entry type codes are written into the script, so that
// completing never runs the tool.
std::string BashCompletion(const CLI::App& app);

}  // namespace gcuschema::tool

#endif
