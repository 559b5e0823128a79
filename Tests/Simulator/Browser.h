#pragma once

#include <chrono>
#include <memory>
#include <string>

#include <json/value.h>

/// A headless Chromium with one page, driven through its DevTools protocol over
/// a pair of pipes. Whatever fails or takes too long is a std::runtime_error.
class Browser {
public:
    /// The path of the program; empty where there is none.
    static std::string find();

    explicit Browser(const std::string& program);
    Browser(const Browser&) = delete;
    Browser& operator=(const Browser&) = delete;
    /// Ends the program and removes its files.
    ~Browser();

    /// Waits until the page is loaded.
    void open(const std::string& address);
    /// The value of a JavaScript expression in the page; waits for a promise.
    Json::Value evaluate(const std::string& expression);

private:
    Json::Value call(const std::string& method, const Json::Value& params);
    std::string readMessage(std::chrono::steady_clock::time_point deadline);

    struct Process;
    const std::unique_ptr<Process> process;
    std::string session;
    std::string received;
    int lastId = 0;
};
