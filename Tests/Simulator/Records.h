#pragma once

#include <string>

// The texts of requests and replies, as tests of a simulated device need them.

inline std::string request(const std::string& method, const std::string& params = "[]",
                           const std::string& id = "1") {
    return R"({"id":)" + id + R"(,"jsonrpc":"2.0","method":")" + method + R"(","params":)" + params + "}";
}

inline std::string result(const std::string& value, const std::string& id = "1") {
    return R"({"id":)" + id + R"(,"jsonrpc":"2.0","result":)" + value + "}";
}

inline std::string error(int code, const std::string& message, const std::string& id = "1") {
    return R"({"error":{"code":)" + std::to_string(code) + R"(,"message":")" + message + R"("},"id":)" + id +
           R"(,"jsonrpc":"2.0"})";
}
