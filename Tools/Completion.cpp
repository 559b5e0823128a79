#include "Tools/Completion.h"

#include <algorithm>
#include <map>
#include <string_view>

#include "DeviceManager/JsonDevice/Vocabulary/Vocabulary.h"

namespace Tool {

namespace {

class Candidates {
public:
    explicit Candidates(std::string typed) : start(std::move(typed)) {}

    void add(std::string_view word, std::string_view description) {
        if (word.starts_with(start)) {
            lines += std::string(word) + "\t" + std::string(description) + "\n";
        }
    }
    void addFiles() { lines += ":file\n"; }
    const std::string& typed() const { return start; }
    std::string take() { return std::move(lines); }

private:
    std::string start;
    std::string lines;
};

void addMethods(Candidates& candidates) {
    const auto all = JsonDevice::Vocabulary::operations();
    for (const auto& operation : all) {
        candidates.add(operation.method, operation.summary);
    }
    // An operation's name alone does where only one interface has it.
    if (candidates.typed().empty() || candidates.typed().find(':') != std::string::npos) {
        return;
    }
    std::map<std::string_view, int> counts;
    for (const auto& operation : all) {
        ++counts[operation.operationName()];
    }
    for (const auto& operation : all) {
        if (counts[operation.operationName()] == 1) {
            candidates.add(operation.operationName(), operation.summary);
        }
    }
}

void addValues(Candidates& candidates, Hint hint, const std::vector<std::string>& values) {
    for (const std::string& value : values) {
        candidates.add(value, "");
    }
    if (hint == Hint::method) {
        addMethods(candidates);
    } else if (hint == Hint::file) {
        candidates.addFiles();
    }
}

std::vector<std::string> namesOf(const Option& option) {
    std::vector<std::string> names;
    for (std::size_t begin = 0; begin < option.names.size();) {
        const std::size_t end = std::min(option.names.find(',', begin), option.names.size());
        names.push_back(option.names.substr(begin, end - begin));
        begin = end + 1;
    }
    return names;
}

/// The help, which every command has beside its own options.
const Option& helpOption() {
    static const Option help{"-h,--help", "", "Print this help"};
    return help;
}

/// A command line up to the word that is completed.
class Position {
public:
    explicit Position(const std::vector<Command>& allCommands) : below(&allCommands) {}

    void pass(const std::string& word) {
        if (pending != nullptr) {
            pending = nullptr;
        } else if (onlyValues || !word.starts_with('-') || word == "-") {
            passValue(word);
        } else if (word == "--") {
            onlyValues = true;
        } else if (word.find('=') == std::string::npos) {
            const Option* const option = find(word);
            pending = option != nullptr && !option->value.empty() ? option : nullptr;
        }
    }

    void complete(Candidates& candidates) const {
        if (lost) {
            return;
        }
        if (pending != nullptr) {
            addValues(candidates, pending->hint, {});
        } else if (!onlyValues && candidates.typed().starts_with('-')) {
            for (const Option* option : options()) {
                candidates.add(namesOf(*option).back(), option->summary);
            }
        } else if (below != nullptr) {
            for (const Command& inner : *below) {
                candidates.add(inner.name, inner.summary);
            }
        } else if (const Parameter* const next = parameter(); next != nullptr) {
            addValues(candidates, next->hint, next->values);
        }
    }

private:
    void passValue(const std::string& word) {
        if (below == nullptr) {
            ++values;
            return;
        }
        const auto found = std::ranges::find(*below, word, &Command::name);
        lost = found == below->end();
        if (!lost) {
            command = &*found;
            below = found->commands.empty() ? nullptr : &found->commands;
        }
    }

    const Parameter* parameter() const {
        if (command->parameters.empty()) {
            return nullptr;
        }
        const Parameter& last = command->parameters.back();
        const bool more = values < command->parameters.size();
        return more ? &command->parameters[values] : last.count == Parameter::Count::any ? &last : nullptr;
    }

    std::vector<const Option*> options() const {
        std::vector<const Option*> all;
        if (command != nullptr) {
            for (const Option& option : command->options) {
                all.push_back(&option);
            }
        }
        for (const Option& option : commonOptions()) {
            all.push_back(&option);
        }
        all.push_back(&helpOption());
        return all;
    }

    const Option* find(const std::string& word) const {
        for (const Option* option : options()) {
            const auto names = namesOf(*option);
            if (std::ranges::find(names, word) != names.end()) {
                return option;
            }
        }
        return nullptr;
    }

    const Command* command = nullptr;
    /// The commands that may come; null behind a command without any.
    const std::vector<Command>* below;
    /// Whose value comes next.
    const Option* pending = nullptr;
    std::size_t values = 0;
    bool onlyValues = false;
    /// Behind a command that there is not.
    bool lost = false;
};

constexpr const char* bashScript = R"(# Completion of jsondevice for bash.
_jsondevice() {
    # Readline breaks words at colons and equals signs, also where the shell would not.
    local words=() glue= piece i line=${COMP_LINE:0:COMP_POINT}
    for ((i = 0; i <= COMP_CWORD; i++)); do
        piece=${COMP_WORDS[i]}
        if [[ i -eq COMP_CWORD && -z $piece && $line == *[[:space:]] ]]; then
            words+=("")
        elif [[ $i -gt 0 && ( $glue || $piece == [:=]* ) ]]; then
            words[-1]+=$piece
        else
            words+=("$piece")
        fi
        [[ $piece == *[:=] ]] && glue=1 || glue=
    done
    local current=${words[-1]} word
    local before=${current%"${current##*[:=]}"}
    COMPREPLY=()
    while IFS=$'\t' read -r word _; do
        if [[ $word == :file ]]; then
            compopt -o filenames 2>/dev/null
            while IFS= read -r word; do
                COMPREPLY+=("$word")
            done < <(compgen -f -- "$current")
        else
            COMPREPLY+=("${word#"$before"}")
        fi
    done < <("${words[0]/#\~/$HOME}" __complete "${words[@]:1}" 2>/dev/null)
}
complete -F _jsondevice jsondevice
)";

constexpr const char* zshScript = R"(#compdef jsondevice
# Completion of jsondevice for zsh.
_jsondevice() {
    local -a candidates
    local line word files colon='\:'
    for line in "${(@f)$("${(Q)words[1]}" __complete "${(@Q)words[2,CURRENT]}" 2>/dev/null)}"; do
        if [[ $line == :file ]]; then
            files=1
        elif [[ -n $line ]]; then
            word=${line%%$'\t'*}
            candidates+=("${word//:/$colon}:${line#*$'\t'}")
        fi
    done
    (( $#candidates )) && _describe jsondevice candidates
    [[ -n $files ]] && _files
    return 0
}
if [[ $funcstack[1] == _jsondevice ]]; then
    _jsondevice "$@"
else
    compdef _jsondevice jsondevice
fi
)";

constexpr const char* fishScript = R"(# Completion of jsondevice for fish.
function __jsondevice_complete
    set -l words (commandline -opc)
    set -l current (commandline -ct)
    for line in (command $words[1] __complete $words[2..-1] "$current" 2>/dev/null)
        if test "$line" = :file
            __fish_complete_path "$current"
        else
            printf '%s\n' $line
        end
    end
end
complete -c jsondevice -f -a '(__jsondevice_complete)'
)";

}  // namespace

std::string complete(const std::vector<Command>& commands, const std::vector<std::string>& words) {
    Candidates candidates(words.empty() ? "" : words.back());
    Position position(commands);
    for (std::size_t i = 0; i + 1 < words.size(); ++i) {
        position.pass(words[i]);
    }
    position.complete(candidates);
    return candidates.take();
}

std::string completionScript(const std::string& shell) {
    return shell == "bash" ? bashScript : shell == "zsh" ? zshScript : shell == "fish" ? fishScript : "";
}

}  // namespace Tool
