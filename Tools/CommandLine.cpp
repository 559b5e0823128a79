#include "Tools/CommandLine.h"

#include <algorithm>
#include <map>

#include <CLI/App.hpp>
#include <CLI/Config.hpp>
#include <CLI/Formatter.hpp>

#include "Tools/Failure.h"
#include "Tools/Format.h"

namespace Tool {

namespace {

constexpr const char* toolName = "jsondevice";

// The parser would take an argument in brackets for a list and split it, "-.5"
// for options, "++" for the end of a command, and would look for options behind
// "--" again where the parameters are optional. This in front hides them from it.
constexpr char guard = '\x01';

std::vector<std::string> hidden(const std::vector<std::string>& arguments) {
    std::vector<std::string> all;
    bool onlyValues = false;
    for (const std::string& argument : arguments) {
        if (argument == "--" && !onlyValues) {
            onlyValues = true;
            continue;
        }
        const bool list = argument.starts_with('[') && argument.ends_with(']');
        const bool hide = onlyValues || list || argument == "++" || argument.starts_with("-.") ||
                          argument.starts_with(guard);
        all.push_back(hide ? guard + argument : argument);
    }
    return all;
}

std::vector<std::string> uncovered(std::vector<std::string> values) {
    for (std::string& value : values) {
        if (value.starts_with(guard)) {
            value.erase(0, 1);
        }
    }
    return values;
}

/// Broken into lines for the right column of the help; the parser indents them.
std::string wrapped(const std::string& text) {
    constexpr std::size_t column = 30;
    constexpr std::size_t width = 100 - column;
    std::string lines;
    std::size_t lineStart = 0;
    for (std::size_t start = 0; start < text.size();) {
        const std::size_t end = std::min(text.find(' ', start), text.size());
        if (end - lineStart > width && start > lineStart) {
            lines.back() = '\n';
            lineStart = start;
        }
        lines += text.substr(start, end - start) + " ";
        start = end + 1;
    }
    lines.erase(lines.find_last_not_of(' ') + 1);
    return lines;
}

class Parser {
public:
    explicit Parser(const std::vector<Command>& commands)
        : root("Drives projectors that speak JSON-RPC 2.0.", toolName) {
        root.fallthrough();
        root.require_subcommand(1, 1);
        root.set_help_flag("-h,--help", "Print this help");
        root.set_version_flag("--version", toolName + std::string(" ") + JSONDEVICE_VERSION,
                              "Print the version");
        root.footer(
            "Exit status: 0 done, 1 the device answered with an error, 2 wrong usage, 3 cannot connect,\n"
            "4 timed out, 5 the device broke the protocol, 6 some of several devices failed,\n"
            "74 cannot write the output, 130 interrupted.\n\n"
            "Example:\n  jsondevice -d tcp://projector:5000 status");
        for (const Option& option : commonOptions()) {
            common.emplace_back(option.key(), add(root, option));
        }
        for (const Command& command : commands) {
            add(root, command);
        }
    }

    CommandLine parse(const std::vector<std::string>& arguments) {
        std::vector<std::string> reversed = hidden(arguments);
        std::ranges::reverse(reversed);
        CommandLine line;
        try {
            root.parse(reversed);
        } catch (const CLI::CallForHelp&) {
            const CLI::App& app = innermost();
            line.text = app.help(app.get_parent() == nullptr ? "" : pathOf(*app.get_parent()));
            return line;
        } catch (const CLI::CallForVersion& version) {
            line.text = std::string(version.what()) + "\n";
            return line;
        } catch (const CLI::ParseError& error) {
            refuse(error);
        }
        const CLI::App& app = innermost();
        line.command = commands.at(&app);
        line.values = values(given[&app]);
        line.common = values(common);
        return line;
    }

private:
    using Options = std::vector<std::pair<std::string, CLI::Option*>>;

    static CLI::Option* add(CLI::App& app, const Option& option) {
        if (option.value.empty()) {
            return app.add_flag(option.names)->description(wrapped(option.summary));
        }
        CLI::Option* const added = app.add_option(
            option.names, CLI::callback_t([](const auto&) { return true; }), wrapped(option.summary));
        added->type_name(option.value)->expected(1)->allow_extra_args(false);
        added->multi_option_policy(option.repeatable ? CLI::MultiOptionPolicy::TakeAll
                                                     : CLI::MultiOptionPolicy::TakeLast);
        return added;
    }

    static CLI::Option* add(CLI::App& app, const Parameter& parameter) {
        CLI::Option* const added = app.add_option(
            parameter.name, CLI::callback_t([](const auto&) { return true; }), wrapped(parameter.summary));
        switch (parameter.count) {
            case Parameter::Count::one:
                added->expected(1)->required();
                break;
            case Parameter::Count::optional:
                added->expected(1);
                break;
            case Parameter::Count::any:
                added->expected(0, CLI::detail::expected_max_vector_size)->allow_extra_args(true);
                added->multi_option_policy(CLI::MultiOptionPolicy::TakeAll);
                break;
        }
        return added;
    }

    void add(CLI::App& parent, const Command& command) {
        CLI::App& app = *parent.add_subcommand(command.name, command.summary);
        commands[&app] = &command;
        for (const Parameter& parameter : command.parameters) {
            given[&app].emplace_back(parameter.name, add(app, parameter));
        }
        for (const Option& option : command.options) {
            given[&app].emplace_back(option.key(), add(app, option));
        }
        for (const Command& inner : command.commands) {
            add(app, inner);
        }
        app.require_subcommand(command.commands.empty() ? 0 : 1, command.commands.empty() ? 0 : 1);
        app.footer(
            "Options for every command (address, JSON, time-outs): jsondevice --help\n\nExample:\n  "
            "jsondevice " +
            command.example);
    }

    static CommandLine::Values values(const Options& options) {
        CommandLine::Values all;
        for (const auto& [name, option] : options) {
            all.emplace_back(name, uncovered(option->results()));
        }
        return all;
    }

    const CLI::App& innermost() const {
        const CLI::App* app = &root;
        while (!app->get_subcommands().empty()) {
            app = app->get_subcommands().front();
        }
        return *app;
    }

    /// "jsondevice remote key"
    static std::string pathOf(const CLI::App& app) {
        const CLI::App* const parent = app.get_parent();
        return (parent == nullptr ? "" : pathOf(*parent) + " ") + app.get_name();
    }

    [[noreturn]] void refuse(const CLI::ParseError& error) const {
        const CLI::App& app = innermost();
        const std::string path = pathOf(app);
        const auto below = app.get_subcommands([](const CLI::App*) { return true; });
        std::string what = error.what();
        if (!below.empty()) {
            std::string names;
            for (const CLI::App* command : below) {
                names += (names.empty() ? "" : ", ") + command->get_name();
            }
            const auto extra = uncovered(root.remaining(true));
            const auto first =
                std::ranges::find_if(extra, [](const auto& text) { return !text.starts_with('-'); });
            what = first == extra.end() ? "a command is missing" : "there is no command " + inQuotes(*first);
            if (const auto option = extra.begin(); first == extra.end() && option != extra.end()) {
                what = "there is no option " + inQuotes(*option);
            }
            what += "; " + path + " has: " + names;
        } else {
            std::erase(what, guard);
            constexpr std::string_view unexpected = "The following argument";
            if (what.starts_with(unexpected)) {
                what = "unexpected: " + what.substr(what.find(": ") + 2);
            }
        }
        refuseUsage(printableLine(what) + " (see: " + path + " --help)");
    }

    CLI::App root;
    Options common;
    std::map<const CLI::App*, const Command*> commands;
    std::map<const CLI::App*, Options> given;
};

}  // namespace

CommandLine parseCommandLine(const std::vector<Command>& commands,
                             const std::vector<std::string>& arguments) {
    return Parser(commands).parse(arguments);
}

bool hasOption(const std::vector<std::string>& arguments, const std::string& option) {
    const auto end = std::ranges::find(arguments, "--");
    return std::find(arguments.begin(), end, option) != end;
}

}  // namespace Tool
