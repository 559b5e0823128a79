#include "Tests/Simulator/Browser.h"

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <sstream>
#include <stdexcept>
#include <system_error>
#include <vector>

#include <fcntl.h>
#include <json/reader.h>
#include <json/writer.h>
#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

/// For each answer of the browser; it may have to start on a busy machine.
constexpr std::chrono::seconds patience{60};

struct Pipe {
    Pipe() {
        if (pipe2(ends, O_CLOEXEC) != 0) {
            throw std::system_error(errno, std::generic_category(), "pipe2");
        }
    }
    Pipe(const Pipe&) = delete;
    Pipe& operator=(const Pipe&) = delete;
    ~Pipe() {
        close(ends[0]);
        close(ends[1]);
    }
    int ends[2];
};

std::string temporaryFolder() {
    std::string path = (std::filesystem::temp_directory_path() / "browser-XXXXXX").string();
    if (mkdtemp(path.data()) == nullptr) {
        throw std::system_error(errno, std::generic_category(), "mkdtemp");
    }
    return path;
}

}  // namespace

struct Browser::Process {
    explicit Process(const std::string& program) {
        std::vector<std::string> words{program,
                                       "--headless",
                                       "--no-sandbox",
                                       "--disable-gpu",
                                       "--disable-dev-shm-usage",
                                       "--disable-quic",
                                       "--no-first-run",
                                       "--disable-background-networking",
                                       "--disable-component-update",
                                       "--disable-sync",
                                       "--remote-debugging-pipe",
                                       "--user-data-dir=" + folder,
                                       "about:blank"};
        std::vector<char*> arguments;
        for (std::string& word : words) {
            arguments.push_back(word.data());
        }
        arguments.push_back(nullptr);
        // The program reads commands from descriptor 3 and writes to 4. They are
        // reached through higher ones, in case the pipes themselves have these numbers.
        const int in = fcntl(commands.ends[0], F_DUPFD_CLOEXEC, 10);
        const int out = fcntl(answers.ends[1], F_DUPFD_CLOEXEC, 10);
        id = fork();
        if (id == 0) {
            setpgid(0, 0);
            const int nothing = ::open("/dev/null", O_RDWR);
            dup2(nothing, 1);
            dup2(nothing, 2);
            dup2(in, 3);
            dup2(out, 4);
            execv(arguments[0], arguments.data());
            _exit(127);
        }
        close(in);
        close(out);
        if (id < 0) {
            throw std::system_error(errno, std::generic_category(), "fork");
        }
        // Also here, so that it is done whichever process comes first.
        setpgid(id, id);
    }
    Process(const Process&) = delete;
    Process& operator=(const Process&) = delete;
    ~Process() {
        // It has processes of its own, which are in its group.
        kill(-id, SIGKILL);
        waitpid(id, nullptr, 0);
        std::error_code ignored;
        std::filesystem::remove_all(folder, ignored);
    }

    Pipe commands;
    Pipe answers;
    const std::string folder = temporaryFolder();
    pid_t id = -1;
};

std::string Browser::find() {
    for (const char* const path :
         {"/usr/bin/chromium", "/usr/bin/chromium-browser", "/usr/bin/google-chrome"}) {
        if (access(path, X_OK) == 0) {
            return path;
        }
    }
    return {};
}

Browser::Browser(const std::string& program) : process(std::make_unique<Process>(program)) {
    Json::Value target(Json::objectValue);
    target["url"] = "about:blank";
    Json::Value attach(Json::objectValue);
    attach["targetId"] = call("Target.createTarget", target)["targetId"];
    attach["flatten"] = true;
    session = call("Target.attachToTarget", attach)["sessionId"].asString();
}

Browser::~Browser() = default;

std::string Browser::readMessage(std::chrono::steady_clock::time_point deadline) {
    while (true) {
        if (const std::size_t end = received.find('\0'); end != std::string::npos) {
            std::string message = received.substr(0, end);
            received.erase(0, end + 1);
            return message;
        }
        const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
            deadline - std::chrono::steady_clock::now());
        pollfd readable{process->answers.ends[0], POLLIN, 0};
        if (left.count() <= 0 || poll(&readable, 1, static_cast<int>(left.count())) <= 0) {
            throw std::runtime_error("The browser does not answer");
        }
        char buffer[65536];
        const ssize_t count = read(process->answers.ends[0], buffer, sizeof buffer);
        if (count <= 0) {
            throw std::runtime_error("The browser is gone");
        }
        received.append(buffer, static_cast<std::size_t>(count));
    }
}

Json::Value Browser::call(const std::string& method, const Json::Value& params) {
    Json::Value command(Json::objectValue);
    command["id"] = ++lastId;
    command["method"] = method;
    command["params"] = params;
    if (!session.empty()) {
        command["sessionId"] = session;
    }
    Json::StreamWriterBuilder builder;
    builder["indentation"] = "";
    const std::string text = Json::writeString(builder, command) + '\0';
    if (write(process->commands.ends[1], text.data(), text.size()) != static_cast<ssize_t>(text.size())) {
        throw std::runtime_error("The browser takes no commands");
    }
    const auto deadline = std::chrono::steady_clock::now() + patience;
    while (true) {
        Json::Value answer;
        std::istringstream(readMessage(deadline)) >> answer;
        if (answer["id"] == lastId) {
            if (answer.isMember("error")) {
                throw std::runtime_error(method + ": " + answer["error"]["message"].asString());
            }
            return answer["result"];
        }
    }
}

void Browser::open(const std::string& address) {
    Json::Value params(Json::objectValue);
    params["url"] = address;
    const Json::Value result = call("Page.navigate", params);
    if (result.isMember("errorText")) {
        throw std::runtime_error(address + ": " + result["errorText"].asString());
    }
    evaluate(
        "new Promise(done => document.readyState === 'complete' ? done() : addEventListener('load', done))");
}

Json::Value Browser::evaluate(const std::string& expression) {
    Json::Value params(Json::objectValue);
    params["expression"] = expression;
    params["awaitPromise"] = true;
    params["returnByValue"] = true;
    const Json::Value result = call("Runtime.evaluate", params);
    if (result.isMember("exceptionDetails")) {
        throw std::runtime_error(result["exceptionDetails"]["exception"]["description"].asString());
    }
    return result["result"]["value"];
}
