#pragma once

#include <functional>
#include <string>
#include <utility>
#include <vector>

#include <json/value.h>

#include "Tools/ExitStatus.h"

namespace Tool {

class Input;
class Session;

/// What a command has to say: for people (lines, safe for a terminal) and as JSON.
struct Answer {
    std::string text;
    Json::Value data;
    /// For answers that are worth printing although something is wrong.
    ExitStatus status = ExitStatus::done;
};

/// What is done with each device. Where there are several it runs on several
/// threads at once.
using Task = std::function<Answer(Session&)>;

/// What a value stands for, so that a shell can complete it.
enum class Hint { none, file, method, device };

/// A positional argument.
struct Parameter {
    enum class Count { one, optional, any };

    std::string name;
    std::string summary;
    Hint hint = Hint::none;
    Count count = Count::one;
    /// What it may be, where that is known.
    std::vector<std::string> values{};
};

struct Option {
    /// "-n,--count"; the last one, without its dashes, is its name in Given.
    std::string names;
    /// What the value is called; empty for an option that takes none.
    std::string value;
    std::string summary;
    Hint hint = Hint::none;
    /// May be given several times.
    bool repeatable = false;

    std::string key() const { return names.substr(names.rfind("--") + 2); }
};

/// What was given on the command line for the parameters and options of a
/// command, each by its name, as text.
class Given {
public:
    Given(std::vector<std::pair<std::string, std::vector<std::string>>> values, Input& standardInput)
        : values(std::move(values)), standardInput(standardInput) {}

    bool has(const std::string& name) const { return !all(name).empty(); }
    /// The value; empty when it was not given.
    const std::string& text(const std::string& name) const;
    const std::vector<std::string>& all(const std::string& name) const;
    /// The value as a number within the limits, or `otherwise` when it was not
    /// given; refuses the command line when it is none.
    int number(const std::string& name, int least, int most, int otherwise) const;

    /// For arguments that name a file or standard input.
    Input& input() const { return standardInput; }

private:
    std::vector<std::pair<std::string, std::vector<std::string>>> values;
    Input& standardInput;
};

/// One command, or a group of commands. Help, parsing, completion and manual
/// pages are made from this.
struct Command {
    std::string name;
    /// One line.
    std::string summary;
    /// A command line that works, without the tool's name.
    std::string example;
    std::vector<Parameter> parameters{};
    std::vector<Option> options{};

    /// One of these two. Both check what was given and refuse what is wrong
    /// before a device is asked.
    std::function<Answer(const Given&)> answer{};
    std::function<Task(const Given&)> prepare{};
    /// It prints its answers itself as they come, each a JSON document of its own (Session::print).
    bool streams = false;

    /// Of a group, which has none of the above.
    std::vector<Command> commands{};
};

/// The options that every command takes.
const std::vector<Option>& commonOptions();

}  // namespace Tool
