#include "corra/Completion.h"

#include <algorithm>
#include <chrono>
#include <exception>
#include <filesystem>
#include <system_error>

#include "Zin/Place.h"
#include "corra/Commands.h"
#include "corra/Locate.h"
#include "corra/Modules.h"
#include "corra/ShellLine.h"
#include "corra/Source.h"
#include "corra/Why.h"

namespace corra {

namespace {

// How long a shell may stand still.
constexpr std::chrono::milliseconds patience(2000);

bool takesValue(const CLI::Option& option) {
    return option.get_items_expected_max() > 0;
}

std::vector<const CLI::App*> allCommands(const CLI::App& app) {
    return app.get_subcommands([](const CLI::App*) { return true; });
}

bool isHidden(const CLI::App& command) {
    return command.get_group().empty();
}

// Where in the words of a command the cursor is.
class Cursor {
  public:
    Cursor(const CLI::App& app, const std::vector<std::string>& words);

    // The command, or the whole tool where none has been written.
    const CLI::App& command() const { return *command_; }
    // What is being written: null for an option's name, a command, or nothing known.
    const CLI::Option* argument() const { return argument_; }
    // What comes before its value in the word, as in "--at=".
    const std::string& before() const { return before_; }
    // What was given for --at.
    const std::string& at() const { return at_; }
    const std::string& path() const { return path_; }
    // What was given for --module.
    const std::vector<std::string>& libraries() const { return libraries_; }

  private:
    void takeWord(const std::string& word);
    void takeValue(const CLI::Option& option, const std::string& value);
    const CLI::Option* positional() const;
    // An option of the command, or one that all commands have.
    const CLI::Option* optionNamed(const std::string& name) const;
    // The option that a word begins with, with its value in the same word: "--at=VALUE".
    const CLI::Option* named(const std::string& word, std::string& inner) const;

    const CLI::App* command_;
    const CLI::Option* pending_ = nullptr;
    const CLI::Option* argument_ = nullptr;
    std::size_t positionals_ = 0;
    bool onlyPositionals_ = false;
    std::string before_;
    std::string at_;
    std::string path_;
    std::vector<std::string> libraries_;
};

Cursor::Cursor(const CLI::App& app, const std::vector<std::string>& words) : command_(&app) {
    for (std::size_t i = 1; i + 1 < words.size(); ++i) takeWord(words[i]);
    const std::string& last = words.back();
    std::string inner;
    if (pending_) {
        argument_ = pending_;
    } else if (last.starts_with('-') && !onlyPositionals_) {
        argument_ = named(last, inner);
        if (argument_) before_ = inner;
    } else if (command_ != &app) {
        argument_ = positional();
    }
}

void Cursor::takeWord(const std::string& word) {
    std::string inner;
    if (pending_) {
        takeValue(*std::exchange(pending_, nullptr), word);
    } else if (word == "--" && !onlyPositionals_) {
        onlyPositionals_ = true;
    } else if (word.starts_with('-') && !onlyPositionals_) {
        if (const CLI::Option* const option = named(word, inner)) {
            takeValue(*option, word.substr(inner.size()));
        } else {
            const CLI::Option* const alone = optionNamed(word);
            if (alone && takesValue(*alone)) pending_ = alone;
        }
    } else if (!command_->get_parent()) {
        for (const CLI::App* const command : allCommands(*command_)) {
            if (command->check_name(word)) command_ = command;
        }
    } else {
        if (const CLI::Option* const option = positional()) takeValue(*option, word);
        ++positionals_;
    }
}

void Cursor::takeValue(const CLI::Option& option, const std::string& value) {
    if (option.check_name("--at")) at_ = value;
    if (option.get_type_name() == argument::path) path_ = value;
    if (option.get_type_name() == argument::library) libraries_.push_back(value);
}

const CLI::Option* Cursor::positional() const {
    std::size_t left = positionals_;
    for (const CLI::Option* const option : command_->get_options()) {
        if (!option->get_positional()) continue;
        const auto most = static_cast<std::size_t>(option->get_items_expected_max());
        if (left < most) return option;
        left -= most;
    }
    return nullptr;
}

const CLI::Option* Cursor::optionNamed(const std::string& name) const {
    const CLI::Option* const own = command_->get_option_no_throw(name);
    const CLI::App* const parent = command_->get_parent();
    return own || !parent ? own : parent->get_option_no_throw(name);
}

const CLI::Option* Cursor::named(const std::string& word, std::string& inner) const {
    const std::size_t equals = word.find('=');
    if (!word.starts_with("--") || equals == std::string::npos) return nullptr;
    const CLI::Option* const found = optionNamed(word.substr(0, equals));
    inner = word.substr(0, equals + 1);
    return found && takesValue(*found) ? found : nullptr;
}

std::vector<Candidate> commandCandidates(const CLI::App& app) {
    std::vector<Candidate> candidates;
    for (const CLI::App* const command : allCommands(app)) {
        if (!isHidden(*command)) candidates.push_back({command->get_name()});
    }
    return candidates;
}

std::vector<Candidate> optionCandidates(const CLI::App& command) {
    std::vector<Candidate> candidates;
    const auto add = [&](const CLI::Option& option) {
        for (const std::string& name : option.get_lnames()) {
            candidates.push_back({"--" + name});
        }
    };
    for (const CLI::Option* const option : command.get_options()) add(*option);
    if (const CLI::App* const parent = command.get_parent()) {
        // Those that all commands have; --help is among their own.
        for (const CLI::Option* const option : parent->get_options()) {
            if (takesValue(*option)) add(*option);
        }
    }
    return candidates;
}

// Files below the directory that has been begun, behind `before`.
std::vector<Candidate> fileCandidates(const std::string& begun, const std::string& before) {
    std::vector<Candidate> candidates;
    const std::string directory = begun.substr(0, begun.rfind('/') + 1);
    std::error_code ignored;
    for (const auto& entry :
         std::filesystem::directory_iterator(directory.empty() ? "." : directory, ignored)) {
        const std::string name = entry.path().filename().string();
        // A line holds one.
        if (name.find('\n') != std::string::npos) continue;
        if (name.starts_with('.') && begun.size() == directory.size()) continue;
        const bool isDirectory = entry.is_directory(ignored);
        std::string text = before;
        text += directory;
        text += name;
        if (isDirectory) text += '/';
        candidates.push_back({std::move(text), !isDirectory});
    }
    return candidates;
}

std::vector<Candidate> addressCandidates(const std::string& begun) {
    constexpr std::string_view unixPrefix = "unix:";
    if (begun.starts_with(unixPrefix)) {
        return fileCandidates(begun.substr(unixPrefix.size()), std::string(unixPrefix));
    }
    return {{std::string(unixPrefix), false}, {"tcp:", false}};
}

std::vector<Candidate> sourceCandidates(const std::string& begun) {
    std::vector<Candidate> candidates = addressCandidates(begun);
    if (!begun.starts_with("unix:")) {
        const auto files = fileCandidates(begun, "");
        candidates.insert(candidates.end(), files.begin(), files.end());
    }
    return candidates;
}

std::vector<Candidate> moduleCandidates() {
    std::vector<Candidate> candidates;
    Zin::forEachModule([&](const Zin::ZinModule& module) {
        candidates.push_back({std::string(module.name)});
    });
    return candidates;
}

std::vector<Candidate> valueCandidates(const Roots& roots, const std::string& path) {
    const Zin::ValueInfo* const type = locate(roots, path).place.type();
    std::vector<Candidate> candidates;
    if (!type) return candidates;
    if (type->kind == Zin::ValueKind::boolean) return {{"False"}, {"True"}};
    for (const auto& enumerator : type->enumerators) {
        candidates.push_back({std::string(enumerator.name)});
    }
    return candidates;
}

std::vector<Candidate> nameCandidates(const Roots& roots) {
    std::vector<Candidate> candidates;
    for (std::string& name : namesIn(roots)) candidates.push_back({std::move(name)});
    return candidates;
}

std::vector<Candidate> candidatesFor(const Cursor& cursor, const std::string& begun) {
    const std::string& kind = cursor.argument()->get_type_name();
    const auto roots = [&] {
        return Source({cursor.at(), patience}).roots();
    };
    if (kind == argument::path) return pathCandidates(roots(), begun);
    if (kind == argument::name) return nameCandidates(roots());
    if (kind == argument::value) return valueCandidates(roots(), cursor.path());
    if (kind == argument::source) return sourceCandidates(begun);
    if (kind == argument::address) return addressCandidates(begun);
    if (kind == argument::module) return moduleCandidates();
    if (kind == argument::shell) return {{"bash"}};
    if (kind == argument::format) return {{"dot"}, {"svg"}, {"png"}};
    if (kind == argument::library || kind == argument::file || kind == argument::directory) {
        return fileCandidates(begun, "");
    }
    return {};
}

// Up to where a path is complete: the last dot or bracket that stands in no key, or nothing.
std::size_t endOfParent(std::string_view path) {
    std::size_t end = std::string_view::npos;
    char quote = 0;
    bool inKey = false;
    for (std::size_t at = 0; at < path.size(); ++at) {
        const char c = path[at];
        if (quote) {
            if (c == '\\') {
                ++at;
            } else if (c == quote) {
                quote = 0;
            }
        } else if (c == '\'' || c == '"') {
            quote = c;
        } else if (inKey) {
            if (c == ']') inKey = false;
        } else if (c == '.' || c == '[') {
            end = at;
            inKey = c == '[';
        }
    }
    return end;
}

}  // namespace

std::vector<Candidate> pathCandidates(const Roots& roots, std::string_view begun) {
    std::vector<Candidate> candidates;
    const auto add = [&](std::string path, const Zin::Place& place) {
        const bool isCollection = place.kind() == Zin::Place::Kind::collection;
        const bool isWhole = place.children().empty();
        candidates.push_back(
            {std::move(path),
             isWhole,
             isWhole        ? ""
             : isCollection ? "["
                            : "."});
    };
    const std::size_t end = endOfParent(begun);
    if (end == std::string_view::npos) {
        for (const auto& [name, root] : roots) {
            add(pathOfRoot(name.view(), *root), Zin::Place(root));
        }
        return candidates;
    }
    const Located parent = locate(roots, begun.substr(0, end));
    for (const Zin::Place& place : parent.place.children()) {
        add(parent.path + place.path().substr(parent.place.path().size()), place);
    }
    return candidates;
}

std::vector<std::string>
completions(const CLI::App& app, std::string_view line, std::string_view wordBreaks) {
    const ShellLine shellLine(line, wordBreaks);
    const Cursor cursor(app, shellLine.words());
    std::vector<Candidate> candidates;
    try {
        if (cursor.argument()) {
            const std::string begun = shellLine.last().substr(cursor.before().size());
            loadModules(cursor.libraries());
            candidates = candidatesFor(cursor, begun);
            for (Candidate& each : candidates) each.text.insert(0, cursor.before());
        } else if (shellLine.last().starts_with('-')) {
            candidates = optionCandidates(cursor.command());
        } else if (&cursor.command() == &app) {
            candidates = commandCandidates(app);
        }
    } catch (const std::exception&) {
        // What is wrong with the line is said when it is run.
    }
    std::sort(candidates.begin(), candidates.end(), [](const auto& a, const auto& b) {
        return a.text < b.text;
    });
    return shellLine.replacements(candidates);
}

std::string bashCompletion() {
    return R"(# Completion of corra for bash: the tool knows how its command lines go on.
_corra() {
    local candidate
    COMPREPLY=()
    while IFS= read -r candidate; do
        COMPREPLY+=("$candidate")
    done < <("$1" __complete "${COMP_LINE:0:COMP_POINT}" "$COMP_WORDBREAKS" 2>/dev/null)
}
complete -o nospace -F _corra corra
)";
}

}  // namespace corra
