#pragma once

#include <condition_variable>
#include <map>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include <sys/types.h>

/// A program that a test runs, with all that it prints. Waiting ends after a
/// minute with a std::runtime_error, so that a mistake fails a test and does
/// not hang it. What still runs at the end is killed.
class Process {
public:
    struct Setup {
        std::string standardInput{};
        /// On top of the test's own environment.
        std::map<std::string, std::string> environment{};
        /// Instead of a pipe to the test; "" leaves the descriptor closed.
        std::map<int, std::string> files{};
        /// Nobody reads the standard output.
        bool outputIsBroken = false;
    };

    Process(const std::string& program, const std::vector<std::string>& arguments, const Setup& setup);
    Process(const std::string& program, const std::vector<std::string>& arguments)
        : Process(program, arguments, Setup()) {}
    Process(const Process&) = delete;
    Process& operator=(const Process&) = delete;
    ~Process();

    /// The exit status, or 128 and the number of the signal that ended it.
    int wait();
    void signal(int number);
    /// All of it after wait(), what has come so far before.
    std::string output();
    std::string errors();
    /// The next line of the standard output (of the standard error), without its end.
    std::string readLine();
    std::string readErrorLine();

private:
    /// One pipe from the process, read by a thread of its own.
    struct Stream {
        int file = -1;
        std::string text;
        std::size_t taken = 0;
        bool ended = false;
        std::thread reader;
    };
    void follow(Stream& stream);
    std::string takeLine(Stream& stream);
    std::string textOf(Stream& stream);

    pid_t id = -1;
    int status = -1;
    std::mutex lock;
    std::condition_variable changed;
    Stream out;
    Stream err;
    std::thread feeder;
};
