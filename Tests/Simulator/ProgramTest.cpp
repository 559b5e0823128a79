#include <csignal>
#include <memory>
#include <string>
#include <vector>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include "Tests/Simulator/RawClient.h"
#include "Tests/Simulator/Records.h"

extern char** environ;

namespace JsonDevice {

namespace {

/// The program as a process, its outputs to be read up to a line or the end.
class Program {
public:
    explicit Program(std::vector<std::string> arguments) {
        int outEnds[2];
        int errorEnds[2];
        EXPECT_EQ(pipe2(outEnds, O_CLOEXEC), 0);
        EXPECT_EQ(pipe2(errorEnds, O_CLOEXEC), 0);
        posix_spawn_file_actions_t actions;
        posix_spawn_file_actions_init(&actions);
        posix_spawn_file_actions_adddup2(&actions, outEnds[1], STDOUT_FILENO);
        posix_spawn_file_actions_adddup2(&actions, errorEnds[1], STDERR_FILENO);
        arguments.insert(arguments.begin(), JSONDEVICE_SIM);
        std::vector<char*> pointers;
        for (std::string& argument : arguments) {
            pointers.push_back(argument.data());
        }
        pointers.push_back(nullptr);
        EXPECT_EQ(posix_spawn(&process, JSONDEVICE_SIM, &actions, nullptr, pointers.data(), environ), 0);
        posix_spawn_file_actions_destroy(&actions);
        close(outEnds[1]);
        close(errorEnds[1]);
        out.reset(fdopen(outEnds[0], "r"));
        error.reset(fdopen(errorEnds[0], "r"));
    }
    Program(const Program&) = delete;
    Program& operator=(const Program&) = delete;
    ~Program() {
        if (process != 0) {
            kill(process, SIGKILL);
            waitpid(process, nullptr, 0);
        }
    }

    std::string outputLine() { return line(out.get()); }
    std::string errorLine() { return line(error.get()); }
    void signal(int number) { kill(process, number); }
    /// The exit status; -1 when a signal ended it.
    int wait() {
        int status = 0;
        waitpid(std::exchange(process, 0), &status, 0);
        return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }

private:
    static std::string line(std::FILE* file) {
        std::string text;
        for (int c = std::fgetc(file); c != EOF && c != '\n'; c = std::fgetc(file)) {
            text += static_cast<char>(c);
        }
        return text;
    }

    struct Close {
        void operator()(std::FILE* file) const { std::fclose(file); }
    };
    pid_t process = 0;
    std::unique_ptr<std::FILE, Close> out;
    std::unique_ptr<std::FILE, Close> error;
};

std::uint16_t portOf(const std::string& line) {
    const std::string before = "Listening on tcp://127.0.0.1:";
    EXPECT_TRUE(line.starts_with(before)) << line;
    return static_cast<std::uint16_t>(std::stoi(line.substr(before.size())));
}

TEST(SimulatorProgramTest, PrintsItsAddressServesAndEndsOnASignal) {
    for (const int signal : {SIGINT, SIGTERM}) {
        Program program({"--port", "0"});
        RawClient client(portOf(program.outputLine()));
        EXPECT_EQ(client.exchange(request("StatusInterface::getModel")), result("\"Simulated projector\""));
        program.signal(signal);
        EXPECT_EQ(client.receiveToEnd(), "");
        EXPECT_EQ(program.wait(), 0);
        EXPECT_EQ(program.outputLine(), "");
        EXPECT_EQ(program.errorLine(), "");
    }
}

TEST(SimulatorProgramTest, ShowsTheTrafficWhenVerbose) {
    Program program({"--port=0", "--verbose"});
    RawClient client(portOf(program.outputLine()));
    EXPECT_TRUE(program.errorLine().ends_with(" connected"));
    EXPECT_EQ(client.exchange(request("RemoteInterface::sendKeyCode", "[12]") + "\n"), result("null"));
    EXPECT_TRUE(
        program.errorLine().ends_with(" --> " + request("RemoteInterface::sendKeyCode", "[12]") + "\\n"));
    EXPECT_TRUE(program.errorLine().ends_with(" <-- " + result("null")));
    client.sendRecord(std::string(100'000, 'x'));
    EXPECT_EQ(client.receiveRecord(), error(-32700, "Parse error", "null"));
    EXPECT_TRUE(program.errorLine().ends_with("xxx... (100000 bytes)"));
    program.signal(SIGTERM);
    EXPECT_EQ(program.wait(), 0);
}

TEST(SimulatorProgramTest, Misbehaves) {
    Program program({"-p0", "-m", "error=-5,count=1", "-m", "no-answer,method=RemoteInterface::*"});
    RawClient client(portOf(program.outputLine()));
    EXPECT_EQ(client.exchange(request("StatusInterface::getModel")), error(-5, "Simulated error"));
    client.sendRecord(request("RemoteInterface::sendKeyCode", "[12]"));
    EXPECT_EQ(client.exchange(request("StatusInterface::getLampCounter")), result("2"));
}

TEST(SimulatorProgramTest, SaysWhatIsWrong) {
    Program kind({"-m", "explode"});
    EXPECT_TRUE(kind.errorLine().starts_with("jsondevice-sim: Misbehaviour 'explode': "));
    EXPECT_EQ(kind.wait(), 2);

    Program first({"--port", "0"});
    const std::string port = std::to_string(portOf(first.outputLine()));
    Program second({"--port", port});
    EXPECT_EQ(second.errorLine(),
              "jsondevice-sim: Cannot listen on 127.0.0.1:" + port + ": Address already in use");
    EXPECT_EQ(second.wait(), 1);

    EXPECT_EQ(Program({"--port", "70000"}).wait(), 2);
    EXPECT_EQ(Program({"--nonsense"}).wait(), 2);
    EXPECT_EQ(Program({"--help"}).wait(), 0);
}

}  // namespace

}  // namespace JsonDevice
