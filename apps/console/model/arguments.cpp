#include "model/arguments.hpp"

#include <system_search.h>

#include <string_view>

namespace console {
namespace {

enum Commands : unsigned { kOfIndex = 1, kOfSearch = 2, kOfList = 4 };

/* Takes the value of an option, "" for an option without one. Returns false for a bad value. */
using Apply = bool (*)(Request& request, std::string_view value);

struct Option {
    std::string_view name;
    char letter;  // 0: none
    unsigned commands;
    const char* value;  // what the value may be; null: the option takes none
    Apply apply;
};

bool set_kind(Request& request, std::string_view value) {
    if (value == "file" || value == "f") {
        request.kind = SS_KIND_FILE;
    } else if (value == "folder" || value == "d") {
        request.kind = SS_KIND_FOLDER;
    } else if (value == "any") {
        request.kind = SS_KIND_ANY;
    } else {
        return false;
    }
    return true;
}

bool set_limit(Request& request, std::string_view value) {
    std::uint32_t limit = 0;
    for (char digit : value) {
        if (digit < '0' || digit > '9') return false;
        limit = limit * 10 + static_cast<std::uint32_t>(digit - '0');
        if (limit > SS_MAX_RESULTS) return false;
    }
    request.limit = limit;
    return limit != 0;
}

bool set_cache(Request& request, std::string_view value) {
    request.cache = value;
    return !value.empty();
}

constexpr Option kOptions[] = {
    {"cache", 0, kOfIndex | kOfSearch, "the path of a file", set_cache},
    {"rebuild", 0, kOfIndex | kOfSearch, nullptr,
     [](Request& request, std::string_view) { return request.rebuild = true; }},
    {"all-drives", 'a', kOfIndex | kOfSearch, nullptr,
     [](Request& request, std::string_view) { return request.all_drives = true; }},
    {"case", 'c', kOfSearch | kOfList, nullptr,
     [](Request& request, std::string_view) {
         request.match_flags |= SS_MATCH_CASE;
         return true;
     }},
    {"whole-path", 'p', kOfSearch | kOfList, nullptr,
     [](Request& request, std::string_view) {
         request.match_flags |= SS_MATCH_PATH;
         return true;
     }},
    {"kind", 't', kOfSearch | kOfList, "\"file\" (or \"f\"), \"folder\" (or \"d\") or \"any\"",
     set_kind},
    {"limit", 'n', kOfSearch | kOfList, "a number from 1 to 1000", set_limit},
    {"paths", '1', kOfSearch | kOfList, nullptr,
     [](Request& request, std::string_view) {
         request.format = Format::kPaths;
         return true;
     }},
    {"null", '0', kOfSearch | kOfList, nullptr,
     [](Request& request, std::string_view) {
         request.format = Format::kNulPaths;
         return true;
     }},
    {"json", 'j', kOfIndex | kOfSearch | kOfList, nullptr,
     [](Request& request, std::string_view) {
         request.format = Format::kJson;
         return true;
     }},
    {"now", 0, kOfSearch, nullptr,
     [](Request& request, std::string_view) { return request.now = true; }},
    {"quiet", 'q', kOfIndex | kOfSearch | kOfList, nullptr,
     [](Request& request, std::string_view) { return request.quiet = true; }},
};

unsigned command_bit(Command command) {
    switch (command) {
        case Command::kIndex:
            return kOfIndex;
        case Command::kSearch:
            return kOfSearch;
        case Command::kList:
            return kOfList;
        default:
            return 0;
    }
}

std::string quoted(std::string_view text) {
    return '"' + std::string(text) + '"';
}

/* One pass over the words behind the command's name. Stops at the first error. */
class Parser {
public:
    Parser(Command command, const std::vector<std::string>& words) : words_(words) {
        request_.command = command;
    }

    ParsedArguments parse() {
        bool options_ended = false;
        for (next_ = 1; next_ < words_.size() && error_.empty() && !help_;) {
            const std::string_view word = words_[next_++];
            if (options_ended || word.size() < 2 || word[0] != '-') {
                take_operand(word);
            } else if (word == "--") {
                options_ended = true;
            } else if (word[1] == '-') {
                take_long_option(word.substr(2));
            } else {
                take_letters(word.substr(1));
            }
        }
        if (help_) {
            Request help;
            help.action = Action::kShowHelp;
            help.command = request_.command;
            return {help, {}};
        }
        if (error_.empty()) check_operands();
        return {request_, error_};
    }

private:
    void fail(const std::string& message) { error_ = message; }

    const Option* find(std::string_view name, char letter) const {
        for (const Option& option : kOptions) {
            const bool is_named = letter ? option.letter == letter : option.name == name;
            if (is_named && option.commands & command_bit(request_.command)) return &option;
        }
        return nullptr;
    }

    void fail_unknown(const std::string& spelling) {
        const std::string name = command_name(request_.command);
        fail(quoted(name) + " has no option " + spelling + "; see \"system-search " + name +
             " --help\".");
    }

    void apply(const Option& option, const std::string& spelling, std::string_view value) {
        if (!option.apply(request_, value)) {
            fail(spelling + " takes " + option.value + ", not " + quoted(value) + '.');
        }
    }

    void apply_with_next_word(const Option& option, const std::string& spelling) {
        if (next_ == words_.size()) {
            fail(spelling + " needs a value: " + option.value + '.');
        } else {
            apply(option, spelling, words_[next_++]);
        }
    }

    void take_long_option(std::string_view text) {
        const std::size_t equals = text.find('=');
        const std::string_view name = text.substr(0, equals);
        const std::string spelling = "--" + std::string(name);
        if (name == "help") {
            help_ = true;
            return;
        }
        const Option* option = find(name, 0);
        if (!option) {
            fail_unknown(spelling);
        } else if (equals == std::string_view::npos) {
            option->value ? apply_with_next_word(*option, spelling) : apply(*option, spelling, "");
        } else if (option->value) {
            apply(*option, spelling, text.substr(equals + 1));
        } else {
            fail(spelling + " takes no value.");
        }
    }

    /* "-pc", "-tf", "-n 20": letters without a value may be joined, one with a value ends them. */
    void take_letters(std::string_view letters) {
        while (!letters.empty() && error_.empty() && !help_) {
            const char letter = letters[0];
            const std::string spelling = {'-', letter};
            letters.remove_prefix(1);
            if (letter == 'h') {
                help_ = true;
                return;
            }
            const Option* option = find("", letter);
            if (!option) {
                // The letter may be the first byte of a longer character: repeat the whole word.
                fail_unknown(quoted(words_[next_ - 1]));
            } else if (!option->value) {
                apply(*option, spelling, "");
            } else if (letters.empty()) {
                apply_with_next_word(*option, spelling);
            } else {
                apply(*option, spelling, letters);
                return;
            }
        }
    }

    void take_operand(std::string_view word) { operands_.emplace_back(word); }

    void check_operands() {
        std::size_t used = 0;
        const bool needs_folder = request_.command != Command::kIndex && !request_.all_drives;
        const bool may_have_folder = !request_.all_drives;
        if (may_have_folder && used < operands_.size()) {
            request_.folder = operands_[used++];
            if (request_.folder.empty()) return fail("The folder is an empty text.");
        } else if (needs_folder) {
            const std::string name = quoted(command_name(request_.command));
            return fail(request_.command == Command::kSearch
                            ? name + " needs a folder, or --all-drives."
                            : name + " needs a folder.");
        }
        if (request_.command != Command::kIndex && used < operands_.size()) {
            request_.text = operands_[used++];
        }
        if (used < operands_.size()) {
            fail("There is one word too many: " + quoted(operands_[used]) +
                 "; put a text with spaces in quotation marks.");
        }
    }

    const std::vector<std::string>& words_;
    std::vector<std::string> operands_;
    Request request_;
    std::string error_;
    std::size_t next_ = 1;
    bool help_ = false;
};

Command command_named(std::string_view name) {
    for (Command command : {Command::kIndex, Command::kSearch, Command::kList}) {
        if (name == command_name(command)) return command;
    }
    return Command::kNone;
}

ParsedArguments just(Action action, Command command) {
    Request request;
    request.action = action;
    request.command = command;
    return {request, {}};
}

}  // namespace

const char* command_name(Command command) {
    switch (command) {
        case Command::kIndex:
            return "index";
        case Command::kSearch:
            return "search";
        case Command::kList:
            return "list";
        default:
            return "";
    }
}

ParsedArguments parse_arguments(const std::vector<std::string>& arguments) {
    if (arguments.empty()) return {{}, "Say what to do: index, search or list; or try --help."};
    const std::string& first = arguments[0];
    if (first == "--version" || first == "-V") return just(Action::kShowVersion, Command::kNone);
    if (first == "--help" || first == "-h" || first == "-?" || first == "/?") {
        return just(Action::kShowHelp, Command::kNone);
    }
    if (first == "help") {
        const Command topic = arguments.size() > 1 ? command_named(arguments[1]) : Command::kNone;
        return just(Action::kShowHelp, topic);
    }
    const Command command = command_named(first);
    if (command == Command::kNone) {
        return {{}, "There is no command " + quoted(first) + "; there are index, search and list."};
    }
    return Parser(command, arguments).parse();
}

}  // namespace console
