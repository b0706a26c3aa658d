#include "usage_mistake.h"

#include "nearest.h"

#include <algorithm>
#include <fmt/format.h>
#include <iterator>
#include <map>

namespace {

/// The command's name with those that it belongs to, as "conflicts resolve"; empty for the program itself.
std::string fullName(const CLI::App& command)
{
    const CLI::App* parent = command.get_parent();
    if (!parent)
        return {};
    const std::string before = fullName(*parent);
    return before.empty() ? command.get_name() : before + " " + command.get_name();
}

std::vector<const CLI::App*> subcommands(const CLI::App& command)
{
    return command.get_subcommands([](const CLI::App*) { return true; });
}

/// The long options of a command itself.
std::vector<std::string> ownOptions(const CLI::App& command)
{
    std::vector<std::string> names;
    for (const CLI::Option* option : command.get_options())
        for (const std::string& name : option->get_lnames())
            names.push_back("--" + name);
    return names;
}

/// The full names of the commands below this one that have an option of their own.
std::vector<std::string> commandsWith(const std::string& option, const CLI::App& command)
{
    std::vector<std::string> names;
    for (const CLI::App* below : subcommands(command)) {
        if (const std::vector<std::string> own = ownOptions(*below); std::ranges::find(own, option) != own.end())
            names.push_back(fullName(*below));
        std::ranges::copy(commandsWith(option, *below), std::back_inserter(names));
    }
    return names;
}

/// The innermost command that was understood.
const CLI::App& commandOf(const CLI::App& program)
{
    const CLI::App* command = &program;
    while (!command->get_subcommands().empty())
        command = command->get_subcommands().front();
    return *command;
}

std::string unknownOption(const CLI::App& program, const CLI::App& command, const std::string& word)
{
    const std::string option = word.substr(0, word.find('='));
    std::vector<std::string> known;
    for (const CLI::App* owner = &command; owner; owner = owner->get_parent())
        std::ranges::copy(ownOptions(*owner), std::back_inserter(known));
    std::string hint = didYouMean(option, known);
    if (const std::vector<std::string> others = commandsWith(option, program); hint.empty() && !others.empty())
        hint = fmt::format("; it is one of {}", fmt::join(others, ", "));
    return fmt::format("unknown option \"{}\"{}", option, hint);
}

/// The name of a command that belongs to another is told with that.
std::string unknownCommand(const CLI::App& command, const std::string& word)
{
    std::map<std::string, std::string> known;
    for (const CLI::App* one : subcommands(command)) {
        known.emplace(one->get_name(), fullName(*one));
        for (const CLI::App* below : subcommands(*one))
            known.emplace(below->get_name(), fullName(*below));
    }
    std::vector<std::string> words;
    for (const auto& [name, whole] : known)
        words.push_back(name);
    const std::string before = fullName(command);
    return fmt::format("unknown command \"{}{}{}\"{}", before, before.empty() ? "" : " ", word,
                       askWhether(known[nearestWord(word, words)]));
}

} // namespace

CLI::Validator oneOf(const std::vector<std::string>& words)
{
    return {[words](std::string& given) {
                const bool known = std::ranges::find(words, given) != words.end();
                return known ? ""
                             : fmt::format("\"{}\" is none of {}{}", given, fmt::join(words, ", "),
                                           didYouMean(given, words));
            },
            fmt::format("{{{}}}", fmt::join(words, ","))};
}

CLI::Validator notEmpty()
{
    return {[](std::string& given) {
                return std::string(given.empty() ? "the text is empty; leave the option out, or give it one" : "");
            },
            ""};
}

bool lacksCommand(const CLI::App& program, const CLI::ParseError& error)
{
    return dynamic_cast<const CLI::RequiredError*>(&error) && program.remaining(true).empty() &&
           !subcommands(commandOf(program)).empty();
}

HostError usageMistake(const CLI::App& program, const CLI::ParseError& error)
{
    const CLI::App& command = commandOf(program);
    const std::string name = fullName(command);
    const std::vector<std::string> unknown = program.remaining(true);
    std::string text = error.what();
    if (lacksCommand(program, error))
        text = "no command is given";
    else if (!unknown.empty() && unknown.front().starts_with('-'))
        text = unknownOption(program, command, unknown.front());
    else if (!unknown.empty() && !subcommands(command).empty())
        text = unknownCommand(command, unknown.front());
    else if (!unknown.empty())
        text = fmt::format("{} takes no \"{}\"", name, unknown.front());
    else if (dynamic_cast<const CLI::ArgumentMismatch*>(&error) && text.ends_with(" missing"))
        text.replace(std::min(text.find(':'), text.size()), std::string::npos, " needs a value");
    return {kUsage, text, fmt::format("`quinrep help{}{}` tells what there is.", name.empty() ? "" : " ", name)};
}
