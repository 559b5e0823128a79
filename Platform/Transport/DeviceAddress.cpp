#include "Platform/Transport/DeviceAddress.h"

#include <algorithm>
#include <charconv>

#include <asio/ip/address.hpp>

#include "Common/WideText.h"
#include "Platform/Transport/DeviceExceptions.h"

namespace {

constexpr const char* source = "Platform/Transport/DeviceAddress";

// A full domain name has at most 253 characters (RFC 1035, 2.3.4, less the length bytes).
constexpr std::size_t longestName = 253;

bool isDigit(char c) {
    return c >= '0' && c <= '9';
}

bool isNameCharacter(char c) {
    return isDigit(c) || (c >= 'a' && c <= 'z') || c == '-' || c == '.' || c == '_';
}

std::string lowerCase(std::string_view text) {
    std::string result(text);
    std::transform(result.begin(), result.end(), result.begin(),
                   [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; });
    return result;
}

/// One reading of one text, so that each complaint can quote the whole of it.
class Reader {
public:
    explicit Reader(std::string_view text) : text(text) {}

    [[noreturn]] void refuse(int line, const std::string& why) const {
        throw DeviceException(source, line,
                              toWide("\"" + std::string(text) + "\" is not a device address: " + why +
                                     " (write tcp://host:port, an IPv6 address in brackets)"));
    }

    std::string_view withoutScheme() const {
        const std::size_t end = text.find("://");
        if (end == std::string_view::npos) {
            return text;
        }
        if (lowerCase(text.substr(0, end)) != "tcp") {
            refuse(__LINE__, "the scheme \"" + std::string(text.substr(0, end)) + "\" is not known");
        }
        return text.substr(end + 3);
    }

    std::uint16_t port(std::string_view digits) const {
        unsigned value = 0;
        const char* end = digits.data() + digits.size();
        const auto [stop, error] = std::from_chars(digits.data(), end, value);
        if (digits.empty()) {
            refuse(__LINE__, "the port is missing");
        }
        if (!isDigit(digits.front()) || error == std::errc::invalid_argument || stop != end) {
            refuse(__LINE__, "the port \"" + std::string(digits) + "\" is not a number");
        }
        if (error != std::errc() || value == 0 || value > 65535) {
            refuse(__LINE__, "the port " + std::string(digits) + " is not between 1 and 65535");
        }
        return static_cast<std::uint16_t>(value);
    }

    /// What stands in the brackets: an IPv6 address and, after "%", the network interface to use.
    std::string addressV6(std::string_view given) const {
        const std::size_t percent = given.find('%');
        asio::error_code error;
        const auto address = asio::ip::make_address_v6(std::string(given.substr(0, percent)), error);
        if (error) {
            refuse(__LINE__, "\"" + std::string(given) + "\" is not an IPv6 address");
        }
        if (percent == std::string_view::npos) {
            return address.to_string();
        }
        const std::string zone(given.substr(percent + 1));  // as it stands: interface names have a case
        const std::string folded = lowerCase(zone);
        if (zone.empty() || !std::all_of(folded.begin(), folded.end(), isNameCharacter)) {
            refuse(__LINE__, "\"" + zone + "\" is not the name of a network interface");
        }
        return address.to_string() + "%" + zone;
    }

    std::string name(std::string_view given) const {
        std::string host = lowerCase(given);
        if (host.empty()) {
            refuse(__LINE__, "the host is missing");
        }
        const auto bad = std::find_if_not(host.begin(), host.end(), isNameCharacter);
        if (bad != host.end()) {
            // Names outside ASCII would be encoded by the process's locale; they are written as "xn--...".
            const bool printable = *bad > ' ' && *bad < '\x7F';
            refuse(__LINE__, printable ? std::string("the host contains \"") + *bad + "\""
                                       : std::string("the host contains a character that no host name has"));
        }
        if (host.size() > longestName || host.front() == '.' || host.find("..") != std::string::npos) {
            refuse(__LINE__, "\"" + host + "\" cannot be the name of a host");
        }
        // Short and octal forms of IPv4 addresses surprise more people than they serve.
        const std::size_t dot = host.find_last_of('.');
        const std::string_view lastLabel =
            std::string_view(host).substr(dot == std::string::npos ? 0 : dot + 1);
        if (!lastLabel.empty() && std::all_of(lastLabel.begin(), lastLabel.end(), isDigit)) {
            asio::error_code error;
            asio::ip::make_address_v4(host, error);
            if (error) {
                refuse(__LINE__, "\"" + host + "\" is not an IPv4 address");
            }
        }
        return host;
    }

private:
    std::string_view text;
};

}  // namespace

DeviceAddress DeviceAddress::parse(std::string_view text) {
    const Reader reader(text);
    const std::string_view rest = reader.withoutScheme();
    if (rest.empty()) {
        reader.refuse(__LINE__, "the host is missing");
    }
    if (rest.front() == '[') {
        const std::size_t close = rest.find(']');
        if (close == std::string_view::npos) {
            reader.refuse(__LINE__, "the closing bracket is missing");
        }
        const std::string host = reader.addressV6(rest.substr(1, close - 1));
        if (close + 1 == rest.size()) {
            reader.refuse(__LINE__, "the port is missing");
        }
        if (rest[close + 1] != ':') {
            reader.refuse(__LINE__, "only a port may follow the closing bracket");
        }
        return DeviceAddress(host, reader.port(rest.substr(close + 2)));
    }
    const std::size_t colon = rest.find(':');
    if (colon == std::string_view::npos) {
        reader.name(rest);
        reader.refuse(__LINE__, "the port is missing");
    }
    if (rest.find(':', colon + 1) != std::string_view::npos) {
        reader.refuse(__LINE__, "there is more than one colon");
    }
    const std::string host = reader.name(rest.substr(0, colon));
    return DeviceAddress(host, reader.port(rest.substr(colon + 1)));
}

std::string DeviceAddress::toText() const {
    const bool bracketed = host.find(':') != std::string::npos;
    return "tcp://" + (bracketed ? "[" + host + "]" : host) + ":" + std::to_string(port);
}
