#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Tools/Arguments.h"
#include "Tools/CommandLine.h"
#include "Tools/Commands/AllCommands.h"
#include "Tools/Failure.h"

namespace {

using namespace Tool;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

class CommandLineTest : public testing::Test {
protected:
    CommandLine parse(const std::vector<std::string>& arguments) {
        return parseCommandLine(commands, arguments);
    }
    std::vector<std::string> values(const std::vector<std::string>& arguments, const std::string& name) {
        const CommandLine line = parse(arguments);
        return Given(line.values, input).all(name);
    }
    std::vector<std::string> common(const std::vector<std::string>& arguments, const std::string& name) {
        const CommandLine line = parse(arguments);
        return Given(line.common, input).all(name);
    }
    std::string refusal(const std::vector<std::string>& arguments) {
        try {
            parse(arguments);
            ADD_FAILURE() << "accepted";
            return "";
        } catch (const FailureException& e) {
            EXPECT_EQ(e.get().status, ExitStatus::usage);
            return e.get().message;
        }
    }

    const std::vector<Command> commands = allCommands();
    Input input;
};

TEST_F(CommandLineTest, TakesArgumentsAsTheyStand) {
    const std::vector<std::string> odd = {"-5", "-.5", "-1e5", "[1,2]", "[]",    "{}",  "",   "call",  "-",
                                          "@x", "a=b", "\x01", "++",    "\x01[", "[ab", "%%", "status"};
    std::vector<std::string> arguments = {"call", "method"};
    arguments.insert(arguments.end(), odd.begin(), odd.end());
    EXPECT_EQ(values(arguments, "ARGUMENT"), odd);
    EXPECT_THAT(values(arguments, "METHOD"), ElementsAre("method"));
}

TEST_F(CommandLineTest, TakesNothingForAnOptionBehindTwoDashes) {
    EXPECT_THAT(values({"call", "method", "--", "--json", "-x", "--", "-d"}, "ARGUMENT"),
                ElementsAre("--json", "-x", "--", "-d"));
    EXPECT_THAT(common({"call", "method", "--", "--json"}, "json"), IsEmpty());
}

TEST_F(CommandLineTest, TakesOptionsBeforeAndBehindTheCommand) {
    for (const std::vector<std::string>& arguments : std::vector<std::vector<std::string>>{
             {"-d", "a:1", "--timeout", "2", "--json", "call", "m", "-1"},
             {"call", "-d", "a:1", "m", "--timeout", "2", "-1", "--json"},
             {"call", "m", "-1", "--device=a:1", "--timeout=2", "--json"}}) {
        EXPECT_THAT(common(arguments, "device"), ElementsAre("a:1"));
        EXPECT_THAT(common(arguments, "timeout"), ElementsAre("2"));
        EXPECT_FALSE(common(arguments, "json").empty());
        EXPECT_THAT(values(arguments, "ARGUMENT"), ElementsAre("-1"));
    }
    EXPECT_THAT(common({"remote", "key", "5", "-d", "b:2"}, "device"), ElementsAre("b:2"));
}

TEST_F(CommandLineTest, TakesSeveralDevicesAndTheLastOfEverythingElse) {
    EXPECT_THAT(common({"-d", "a:1", "status", "-d", "[::1]:2"}, "device"), ElementsAre("a:1", "[::1]:2"));
    EXPECT_THAT(common({"--timeout", "1", "status", "--timeout", "2"}, "timeout"), testing::Contains("2"));
    EXPECT_EQ(Given(parse({"--timeout", "1", "status", "--timeout", "2"}).common, input).text("timeout"),
              "2");
    EXPECT_FALSE(common({"--json", "status", "--json"}, "json").empty());
}

TEST_F(CommandLineTest, RefusesWhatDoesNotFit) {
    EXPECT_THAT(refusal({}), HasSubstr("a command is missing"));
    EXPECT_THAT(refusal({"stauts"}), HasSubstr("there is no command \"stauts\""));
    EXPECT_THAT(refusal({"remote"}), HasSubstr("jsondevice remote has: key, osd"));
    EXPECT_THAT(refusal({"remote", "kee"}), HasSubstr("there is no command \"kee\""));
    EXPECT_THAT(refusal({"remote", "key"}), HasSubstr("CODE is required"));
    EXPECT_THAT(refusal({"remote", "key", "1", "2"}), HasSubstr("unexpected: 2"));
    EXPECT_THAT(refusal({"--bogus", "status"}), HasSubstr("--bogus"));
    EXPECT_THAT(refusal({"status", "--bogus"}), HasSubstr("--bogus"));
    EXPECT_THAT(refusal({"status", "status"}), HasSubstr("status"));
    EXPECT_THAT(refusal({"call"}), HasSubstr("METHOD is required"));
    EXPECT_THAT(refusal({"status", "-d"}), HasSubstr("--device"));
    EXPECT_EQ(refusal({"\x1b[31m"}).find('\x1b'), std::string::npos);
}

void expectExamples(const std::vector<Command>& commands) {
    for (const Command& command : commands) {
        EXPECT_FALSE(command.summary.empty()) << command.name;
        EXPECT_FALSE(command.example.empty()) << command.name;
        EXPECT_EQ(command.commands.empty(), bool(command.answer) != bool(command.prepare)) << command.name;
        expectExamples(command.commands);
    }
}

TEST_F(CommandLineTest, EveryCommandHasAnExampleAndOneThingToDo) {
    expectExamples(commands);
}

/// Splits an example as a shell does, quotes included, up to where output goes elsewhere.
std::vector<std::string> words(const std::string& example) {
    std::vector<std::string> all(1);
    char quote = 0;
    for (const char c : example.substr(0, example.find_first_of(">|") - 1)) {
        if (quote != 0 ? c == quote : c == '\'' || c == '"') {
            quote = quote == 0 ? c : char{0};
        } else if (c == ' ' && quote == 0) {
            all.emplace_back();
        } else {
            all.back() += c;
        }
    }
    return all;
}

void collect(const std::vector<Command>& commands, std::vector<const Command*>& all) {
    for (const Command& command : commands) {
        all.push_back(&command);
        collect(command.commands, all);
    }
}

TEST_F(CommandLineTest, EveryHelpShowsAnExampleThatIsUnderstood) {
    std::vector<const Command*> all;
    collect(commands, all);
    for (const Command* command : all) {
        const CommandLine line = parse(words(command->example));
        ASSERT_NE(line.command, nullptr) << command->example;
        if (command->commands.empty()) {
            EXPECT_EQ(line.command, command) << command->example;
        }
    }
    EXPECT_THAT(parse({"call", "--help"}).text,
                HasSubstr("Example:\n  jsondevice -d tcp://projector:5000 call"));
    EXPECT_THAT(parse({"remote", "key", "--help"}).text, HasSubstr("Example:"));
    EXPECT_THAT(parse({"--help"}).text, HasSubstr("Exit status"));
    EXPECT_EQ(parse({"--version"}).text, "jsondevice " JSONDEVICE_VERSION "\n");
}

}  // namespace
