#include <string>
#include <string_view>

#include "Tools/Pages.h"

namespace Tool {

namespace {

/// Text as roff takes it: nothing in it is a request or an escape.
std::string plain(std::string_view text) {
    std::string roff;
    for (const char c : text) {
        switch (c) {
            case '\\':
                roff += "\\e";
                break;
            case '-':
                roff += "\\-";
                break;
            case '\'':
                roff += "\\(aq";
                break;
            case '"':
                roff += "\\(dq";
                break;
            case '~':
                roff += "\\(ti";
                break;
            case '^':
                roff += "\\(ha";
                break;
            case '`':
                roff += "\\(ga";
                break;
            default:
                roff += c;
        }
    }
    return roff;
}

std::string bold(std::string_view text) {
    return "\\fB" + plain(text) + "\\fR";
}

std::string italic(std::string_view text) {
    return "\\fI" + plain(text) + "\\fR";
}

/// A line of text; a leading dot would make it a request.
std::string line(const std::string& roff) {
    return (roff.starts_with('.') ? "\\&" : "") + roff + "\n";
}

std::string item(const std::string& term, const std::string& text) {
    return ".TP\n" + line(term) + line(text);
}

std::string header(const std::string& name, const std::string& version, const std::string& summary) {
    std::string title;
    for (const char c : name) {
        title += c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c;
    }
    return ".TH " + plain(title) + " 1 \"\" \"jsondevice " + version + "\" \"User Commands\"\n.SH NAME\n" +
           line(plain(name) + " \\- " + plain(summary)) + ".SH SYNOPSIS\n";
}

std::string options(const std::vector<Option>& all) {
    std::string page;
    for (const Option& option : all) {
        std::string names;
        for (std::size_t begin = 0; begin < option.names.size();) {
            const std::size_t end = std::min(option.names.find(',', begin), option.names.size());
            names += (names.empty() ? "" : ", ") + bold(option.names.substr(begin, end - begin));
            begin = end + 1;
        }
        page += item(names + (option.value.empty() ? "" : " " + italic(option.value)),
                     plain(option.summary + "."));
    }
    return page;
}

std::string synopsis(const std::string& path, const Command& command) {
    std::string text = bold(path);
    if (!command.options.empty()) {
        text += " [" + italic("OPTION") + "]...";
    }
    for (const Parameter& parameter : command.parameters) {
        const std::string name = italic(parameter.name);
        const bool needed = parameter.count == Parameter::Count::one;
        text += " " + (needed ? name : "[" + name + "]") +
                (parameter.count == Parameter::Count::any ? "..." : "");
    }
    return text;
}

void describe(const std::string& path, const Command& command, std::string& synopses, std::string& page) {
    if (command.commands.empty()) {
        synopses += (synopses.empty() ? "" : ".br\n") + line(synopsis(path, command));
        page += ".SS " + plain(path) + "\n" + line(plain(command.summary + "."));
        for (const Parameter& parameter : command.parameters) {
            page += item(italic(parameter.name), plain(parameter.summary + "."));
        }
        page += options(command.options) + ".PP\nExample:\n.PP\n.nf\n.RS\n" +
                line(plain("jsondevice " + command.example)) + ".RE\n.fi\n";
    }
    for (const Command& inner : command.commands) {
        describe(path + " " + inner.name, inner, synopses, page);
    }
}

ManualPage pageOf(const Command& command, const std::string& version) {
    const std::string name = "jsondevice-" + command.name;
    std::string synopses;
    std::string description;
    describe("jsondevice " + command.name, command, synopses, description);
    return {name + ".1",
            header(name, version, command.summary) + synopses + ".SH DESCRIPTION\n" +
                line(plain(command.summary + ".")) + description +
                ".SH SEE ALSO\n.BR jsondevice (1),\nfor the options that every command takes and "
                "the exit status.\n"};
}

ManualPage overview(const std::vector<Command>& commands, const std::string& version) {
    std::string page =
        header("jsondevice", version, "drive projectors that speak JSON-RPC 2.0") +
        line(bold("jsondevice") + " [" + italic("OPTION") + "]... " + italic("COMMAND") + " [" +
             italic("ARGUMENT") + "]...") +
        ".SH DESCRIPTION\n"
        "Standard output carries data only; everything else goes to standard error. Each command "
        "has a\nmanual page of its own. Options may stand before and behind the command.\n"
        ".SH COMMANDS\n";
    std::string pages;
    for (const Command& command : commands) {
        page += item(bold(command.name), plain(command.summary + "."));
        pages += (pages.empty() ? "" : ",\n") + (".BR " + plain("jsondevice-" + command.name) + " (1)");
    }
    page += ".SH OPTIONS\n" + options(commonOptions()) +
            item(bold("-h") + ", " + bold("--help"), "Print the help of the tool, or of the command.") +
            item(bold("--version"), "Print the version.") + ".SH EXIT STATUS\n";
    const std::pair<const char*, const char*> statuses[] = {
        {"0", "done"},
        {"1", "the device answered with an error"},
        {"2", "wrong usage"},
        {"3", "cannot connect, or the connection was lost"},
        {"4", "timed out"},
        {"5", "the device broke the protocol"},
        {"6", "some of several devices failed"},
        {"74", "the output cannot be written"},
        {"130", "interrupted"},
    };
    for (const auto& [status, meaning] : statuses) {
        page += item(bold(status), plain(meaning));
    }
    page += ".SH ENVIRONMENT\n" +
            item(bold("JSONDEVICE"), plain("The addresses of the devices, where no -d is given.")) +
            item(bold("NO_COLOR"), "Where it is set, nothing is written in bold.") + ".SH SEE ALSO\n" +
            pages + "\n";
    return {"jsondevice.1", page};
}

}  // namespace

std::vector<ManualPage> manualPages(const std::vector<Command>& commands, const std::string& version) {
    std::vector<ManualPage> pages{overview(commands, version)};
    for (const Command& command : commands) {
        pages.push_back(pageOf(command, version));
    }
    return pages;
}

}  // namespace Tool
