#pragma once

#include <clocale>
#include <locale>
#include <string>

/// For its lifetime the process has global C and C++ locales with a decimal
/// comma, grouping by points and other names for booleans.
class HostileLocale {
public:
    HostileLocale() : previous(std::locale()) {
        previousC = std::setlocale(LC_ALL, nullptr);
        // The C locale only where the machine has such a one; the C++ locale always.
        for (const char* const name : {"de_DE.UTF-8", "de_DE.utf8", "fr_FR.UTF-8"}) {
            if (std::setlocale(LC_ALL, name) != nullptr) {
                break;
            }
        }
        std::locale::global(std::locale(std::locale::classic(), new Punctuation));
    }
    HostileLocale(const HostileLocale&) = delete;
    HostileLocale& operator=(const HostileLocale&) = delete;
    ~HostileLocale() {
        std::locale::global(previous);
        std::setlocale(LC_ALL, previousC.c_str());
    }

private:
    struct Punctuation : std::numpunct<char> {
        char do_decimal_point() const override { return ','; }
        char do_thousands_sep() const override { return '.'; }
        std::string do_grouping() const override { return "\3"; }
        std::string do_truename() const override { return "wahr"; }
        std::string do_falsename() const override { return "falsch"; }
    };

    std::locale previous;
    std::string previousC;
};
