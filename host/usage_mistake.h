#pragma once

#include "HostError.h"

#include <CLI/CLI.hpp>
#include <string>
#include <vector>

/// The options of every command, for the end of its help.
inline constexpr char kOfEveryCommand[] =
    "Options of every command, before or after it: -c FILE, --log-file FILE, --json, "
    "-q, -v.\n`quinrep help` tells them.";

/// Takes one of these words only.
CLI::Validator oneOf(const std::vector<std::string>& words);

/// Takes no empty text: a script whose variable is empty would else mean all.
CLI::Validator notEmpty();

/// Whether the parser refused a line that ends where a command is to follow.
bool lacksCommand(const CLI::App& program, const CLI::ParseError& error);

/// The failure of a line that the parser refused: the word that is unknown with the nearest known one, else what the
/// parser says.
HostError usageMistake(const CLI::App& program, const CLI::ParseError& error);
