#pragma once

#include <iostream>
#include <sstream>
#include <string>

/// Keeps what is written to std::cout during its lifetime.
class CapturedOutput {
public:
    CapturedOutput() : previous(std::cout.rdbuf(stream.rdbuf())) {}
    CapturedOutput(const CapturedOutput&) = delete;
    CapturedOutput& operator=(const CapturedOutput&) = delete;
    ~CapturedOutput() { std::cout.rdbuf(previous); }

    std::string text() const { return stream.str(); }

private:
    std::ostringstream stream;
    std::streambuf* previous;
};
