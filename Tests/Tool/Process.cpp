#include "Tests/Tool/Process.h"

#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstring>
#include <stdexcept>

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

extern char** environ;

namespace {

constexpr auto longestWait = std::chrono::seconds(60);

struct Pipe {
    int reading = -1;
    int writing = -1;

    Pipe() {
        int ends[2];
        if (::pipe2(ends, O_CLOEXEC) != 0) {
            throw std::runtime_error("no pipe");
        }
        reading = ends[0];
        writing = ends[1];
    }
};

}  // namespace

Process::Process(const std::string& program, const std::vector<std::string>& arguments, const Setup& setup) {
    std::vector<std::string> words{program};
    words.insert(words.end(), arguments.begin(), arguments.end());
    std::vector<char*> argv;
    for (std::string& word : words) {
        argv.push_back(word.data());
    }
    argv.push_back(nullptr);

    std::map<std::string, std::string> variables{{"NO_COLOR", "1"}};
    for (char** variable = environ; *variable != nullptr; ++variable) {
        const std::string text = *variable;
        const std::size_t equals = text.find('=');
        variables[text.substr(0, equals)] = text.substr(equals + 1);
    }
    variables.erase("JSONDEVICE");
    for (const auto& [name, value] : setup.environment) {
        variables[name] = value;
    }
    std::vector<std::string> assignments;
    for (const auto& [name, value] : variables) {
        assignments.push_back(name + "=" + value);
    }
    std::vector<char*> environment;
    for (std::string& assignment : assignments) {
        environment.push_back(assignment.data());
    }
    environment.push_back(nullptr);

    Pipe pipes[3];
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    for (int file = 0; file < 3; ++file) {
        const auto found = setup.files.find(file);
        if (found == setup.files.end()) {
            posix_spawn_file_actions_adddup2(&actions, file == 0 ? pipes[0].reading : pipes[file].writing,
                                             file);
        } else if (found->second.empty()) {
            posix_spawn_file_actions_addclose(&actions, file);
        } else {
            posix_spawn_file_actions_addopen(&actions, file, found->second.c_str(), O_RDWR, 0);
        }
    }
    if (setup.outputIsBroken) {
        ::close(pipes[1].reading);
        pipes[1].reading = -1;
    }
    const int error = ::posix_spawn(&id, program.c_str(), &actions, nullptr, argv.data(), environment.data());
    posix_spawn_file_actions_destroy(&actions);
    ::close(pipes[0].reading);
    ::close(pipes[1].writing);
    ::close(pipes[2].writing);
    if (error != 0) {
        throw std::runtime_error("cannot run " + program + ": " + std::strerror(error));
    }
    out.file = pipes[1].reading;
    err.file = pipes[2].reading;
    follow(out);
    follow(err);
    feeder = std::thread([file = pipes[0].writing, text = setup.standardInput] {
        // A process that does not read its input must not end the test.
        sigset_t pipeSignal;
        sigemptyset(&pipeSignal);
        sigaddset(&pipeSignal, SIGPIPE);
        pthread_sigmask(SIG_BLOCK, &pipeSignal, nullptr);
        std::size_t sent = 0;
        while (sent < text.size()) {
            const ssize_t count = ::write(file, text.data() + sent, text.size() - sent);
            if (count <= 0) {
                break;
            }
            sent += static_cast<std::size_t>(count);
        }
        ::close(file);
    });
}

Process::~Process() {
    if (status < 0) {
        ::kill(id, SIGKILL);
        ::waitpid(id, nullptr, 0);
    }
    feeder.join();
    for (Stream* stream : {&out, &err}) {
        stream->reader.join();
        if (stream->file >= 0) {
            ::close(stream->file);
        }
    }
}

void Process::follow(Stream& stream) {
    stream.reader = std::thread([this, &stream] {
        char block[65536];
        for (;;) {
            const ssize_t count = ::read(stream.file, block, sizeof block);
            if (count < 0 && errno == EINTR) {
                continue;
            }
            const std::lock_guard guard(lock);
            if (count > 0) {
                stream.text.append(block, static_cast<std::size_t>(count));
            }
            stream.ended = count <= 0;
            changed.notify_all();
            if (stream.ended) {
                return;
            }
        }
    });
}

int Process::wait() {
    if (status < 0) {
        const int handle = static_cast<int>(::syscall(SYS_pidfd_open, id, 0));
        pollfd wanted{handle, POLLIN, 0};
        const auto limit = std::chrono::milliseconds(longestWait).count();
        const int ready = ::poll(&wanted, 1, static_cast<int>(limit));
        ::close(handle);
        if (ready != 1) {
            throw std::runtime_error("the process did not end; it printed: " + textOf(out) + textOf(err));
        }
        int raw = 0;
        ::waitpid(id, &raw, 0);
        status = WIFEXITED(raw) ? WEXITSTATUS(raw) : 128 + WTERMSIG(raw);
        std::unique_lock guard(lock);
        changed.wait_for(guard, longestWait, [&] { return out.ended && err.ended; });
    }
    return status;
}

void Process::signal(int number) {
    ::kill(id, number);
}

std::string Process::textOf(Stream& stream) {
    const std::lock_guard guard(lock);
    return stream.text;
}

std::string Process::output() {
    return textOf(out);
}

std::string Process::errors() {
    return textOf(err);
}

std::string Process::takeLine(Stream& stream) {
    std::unique_lock guard(lock);
    std::size_t end = std::string::npos;
    const bool came = changed.wait_for(guard, longestWait, [&] {
        end = stream.text.find('\n', stream.taken);
        return end != std::string::npos || stream.ended;
    });
    if (!came || end == std::string::npos) {
        throw std::runtime_error("no line came; so far: " + out.text + err.text);
    }
    const std::string line = stream.text.substr(stream.taken, end - stream.taken);
    stream.taken = end + 1;
    return line;
}

std::string Process::readLine() {
    return takeLine(out);
}

std::string Process::readErrorLine() {
    return takeLine(err);
}
