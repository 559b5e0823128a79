#include "Tools/HttpGet.h"

#include <chrono>

#include <httplib.h>

#include "Tools/Failure.h"
#include "Tools/Format.h"

namespace Tool {

std::string httpGet(const std::string& url, int timeoutMs, std::size_t mostBytes) {
    constexpr std::string_view scheme = "http://";
    if (!url.starts_with(scheme)) {
        refuseUsage(inQuotes(url) + " is no address that begins with http://");
    }
    const std::size_t path = std::min(url.find('/', scheme.size()), url.size());
    const std::string where = printableLine(url.substr(0, path));
    httplib::Client client(url.substr(0, path));
    if (!client.is_valid()) {
        refuseUsage(inQuotes(url) + " is no address");
    }
    if (timeoutMs > 0) {
        const auto timeout = std::chrono::milliseconds(timeoutMs);
        client.set_connection_timeout(timeout);
        client.set_read_timeout(timeout);
        client.set_write_timeout(timeout);
    }
    std::string content;
    int status = 0;
    const auto result = client.Get(
        path == url.size() ? "/" : url.substr(path),
        [&](const httplib::Response& response) {
            status = response.status;
            return true;
        },
        [&](const char* data, std::size_t length) {
            content.append(data, length);
            return content.size() <= mostBytes;
        });
    if (content.size() > mostBytes) {
        throw FailureException({ExitStatus::brokenProtocol, where + ": the answer is too long"});
    }
    if (!result) {
        const bool connecting = result.error() == httplib::Error::Connection ||
                                result.error() == httplib::Error::ConnectionTimeout;
        throw FailureException(connecting ? Failure{ExitStatus::notConnected, "cannot connect to " + where}
                                          : Failure{ExitStatus::timedOut, where + ": no whole answer came"});
    }
    if (status != 200) {
        throw FailureException(
            {ExitStatus::brokenProtocol, where + ": the answer has the status " + std::to_string(status)});
    }
    return content;
}

}  // namespace Tool
