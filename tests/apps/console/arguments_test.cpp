#include "model/arguments.hpp"

#include <gtest/gtest.h>
#include <system_search.h>

#include "model/help.hpp"

namespace console {
namespace {

using Words = std::vector<std::string>;

std::string joined(const Words& words) {
    std::string text;
    for (const std::string& word : words) text += '[' + word + ']';
    return text;
}

Request request_of(const Words& words) {
    const ParsedArguments parsed = parse_arguments(words);
    EXPECT_EQ(parsed.error, "") << joined(words);
    return parsed.request;
}

TEST(Arguments, index_takes_a_folder_or_all_drives) {
    EXPECT_EQ(request_of({"index"}).command, Command::kIndex);
    EXPECT_EQ(request_of({"index"}).folder, "");
    EXPECT_EQ(request_of({"index", "--all-drives"}).folder, "");
    EXPECT_EQ(request_of({"index", "C:\\x"}).folder, "C:\\x");
    const Request request = request_of({"index", "x", "--cache", "f.idx", "--rebuild", "-jq"});
    EXPECT_EQ(request.folder, "x");
    EXPECT_EQ(request.cache, "f.idx");
    EXPECT_TRUE(request.rebuild);
    EXPECT_TRUE(request.quiet);
    EXPECT_EQ(request.format, Format::kJson);
}

TEST(Arguments, search_tells_a_missing_text_from_an_empty_one) {
    EXPECT_EQ(request_of({"search", "x"}).text, std::nullopt);
    EXPECT_EQ(request_of({"search", "x", ""}).text, "");
    EXPECT_EQ(request_of({"search", "x", "two words"}).text, "two words");
}

TEST(Arguments, with_all_drives_the_first_word_is_the_text) {
    const Request request = request_of({"search", "-a", "report"});
    EXPECT_EQ(request.folder, "");
    EXPECT_EQ(request.text, "report");
    EXPECT_EQ(request_of({"search", "report", "--all-drives"}).text, "report");
    EXPECT_EQ(request_of({"search", "-a"}).text, std::nullopt);
}

TEST(Arguments, matching_options_set_what_the_library_is_told) {
    const Request plain = request_of({"search", "x", "y"});
    EXPECT_EQ(plain.match_flags, 0u);
    EXPECT_EQ(plain.kind, SS_KIND_ANY);
    EXPECT_EQ(plain.limit, std::nullopt);
    EXPECT_EQ(plain.format, Format::kTable);

    struct Case {
        Words options;
        std::uint32_t flags, kind;
    };
    for (const Case& c : std::initializer_list<Case>{
             {{"--case"}, SS_MATCH_CASE, SS_KIND_ANY},
             {{"-c"}, SS_MATCH_CASE, SS_KIND_ANY},
             {{"--whole-path"}, SS_MATCH_PATH, SS_KIND_ANY},
             {{"-pc"}, SS_MATCH_PATH | SS_MATCH_CASE, SS_KIND_ANY},
             {{"--kind", "file"}, 0, SS_KIND_FILE},
             {{"--kind=folder"}, 0, SS_KIND_FOLDER},
             {{"-t", "f"}, 0, SS_KIND_FILE},
             {{"-td"}, 0, SS_KIND_FOLDER},
             {{"-t", "d", "--kind", "any"}, 0, SS_KIND_ANY},
             {{"-cptf"}, SS_MATCH_PATH | SS_MATCH_CASE, SS_KIND_FILE},
         }) {
        for (const char* command : {"search", "list"}) {
            Words words = {command, "x"};
            words.insert(words.end(), c.options.begin(), c.options.end());
            const Request request = request_of(words);
            EXPECT_EQ(request.match_flags, c.flags) << joined(words);
            EXPECT_EQ(request.kind, c.kind) << joined(words);
        }
    }
}

TEST(Arguments, the_limit_is_from_1_to_1000) {
    EXPECT_EQ(request_of({"list", "x", "--limit", "1"}).limit, 1u);
    EXPECT_EQ(request_of({"list", "x", "-n1000"}).limit, 1000u);
    for (const char* bad : {"0", "1001", "99999999999999999999", "-1", "1x", ""}) {
        EXPECT_EQ(parse_arguments({"list", "x", "--limit", bad}).error,
                  "--limit takes a number from 1 to 1000, not \"" + std::string(bad) + "\".");
    }
}

TEST(Arguments, each_output_format_has_its_option) {
    EXPECT_EQ(request_of({"search", "x", "-0"}).format, Format::kNulPaths);
    EXPECT_EQ(request_of({"search", "x", "--null"}).format, Format::kNulPaths);
    EXPECT_EQ(request_of({"search", "x", "--paths"}).format, Format::kPaths);
    EXPECT_EQ(request_of({"search", "x", "-1"}).format, Format::kPaths);
    EXPECT_EQ(request_of({"list", "x", "--json"}).format, Format::kJson);
    EXPECT_TRUE(request_of({"search", "x", "--now"}).now);
}

TEST(Arguments, two_dashes_end_the_options) {
    EXPECT_EQ(request_of({"search", "x", "--", "--json"}).text, "--json");
    EXPECT_EQ(request_of({"search", "x", "-"}).text, "-");
}

TEST(Arguments, each_mistake_has_its_sentence) {
    struct Case {
        Words words;
        const char* error;
    };
    for (const Case& c : std::initializer_list<Case>{
             {{}, "Say what to do: index, search or list; or try --help."},
             {{"find"}, "There is no command \"find\"; there are index, search and list."},
             {{"search"}, "\"search\" needs a folder, or --all-drives."},
             {{"list"}, "\"list\" needs a folder."},
             {{"index", ""}, "The folder is an empty text."},
             {{"search", "", "x"}, "The folder is an empty text."},
             {{"index", "a", "b"},
              "There is one word too many: \"b\"; put a text with spaces in quotation marks."},
             {{"search", "a", "b", "c"},
              "There is one word too many: \"c\"; put a text with spaces in quotation marks."},
             {{"search", "-a", "b", "c"},
              "There is one word too many: \"c\"; put a text with spaces in quotation marks."},
             {{"index", "--kind", "file"},
              "\"index\" has no option --kind; see \"system-search index --help\"."},
             {{"list", "x", "--cache", "f"},
              "\"list\" has no option --cache; see \"system-search list --help\"."},
             {{"list", "x", "--all-drives"},
              "\"list\" has no option --all-drives; see \"system-search list --help\"."},
             {{"search", "x", "--frob=1"},
              "\"search\" has no option --frob; see \"system-search search --help\"."},
             {{"search", "x", "-cx"},
              "\"search\" has no option \"-cx\"; see \"system-search search --help\"."},
             {{"search", "x", "--cache"}, "--cache needs a value: the path of a file."},
             {{"search", "x", "--cache="}, "--cache takes the path of a file, not \"\"."},
             {{"search", "x", "-n"}, "-n needs a value: a number from 1 to 1000."},
             {{"search", "x", "--json=yes"}, "--json takes no value."},
             {{"search", "x", "-t", "links"},
              "-t takes \"file\" (or \"f\"), \"folder\" (or \"d\") or \"any\", not \"links\"."},
         }) {
        EXPECT_EQ(parse_arguments(c.words).error, c.error) << joined(c.words);
    }
}

TEST(Arguments, help_and_version_are_found_before_mistakes) {
    const std::initializer_list<std::pair<Words, Command>> cases = {
        {{"--help"}, Command::kNone},
        {{"-h"}, Command::kNone},
        {{"/?"}, Command::kNone},
        {{"help"}, Command::kNone},
        {{"help", "list"}, Command::kList},
        {{"search", "--help"}, Command::kSearch},
        {{"index", "a", "b", "-h"}, Command::kIndex},
        {{"list", "-ch"}, Command::kList},
    };
    for (const auto& [words, topic] : cases) {
        const Request request = request_of(words);
        EXPECT_EQ(request.action, Action::kShowHelp) << joined(words);
        EXPECT_EQ(request.command, topic) << joined(words);
    }
    EXPECT_EQ(request_of({"--version"}).action, Action::kShowVersion);
    EXPECT_EQ(request_of({"search", "x", "--", "--help"}).action, Action::kRun);
}

/* The words that a help page or the manual shows as options. */
std::vector<std::string> options_in(const std::string& page) {
    std::vector<std::string> options;
    for (std::size_t at = page.find("--"); at != std::string::npos; at = page.find("--", at + 2)) {
        std::size_t end = at + 2;
        while (end < page.size() && (page[end] == '-' || (page[end] >= 'a' && page[end] <= 'z'))) {
            ++end;
        }
        if (end > at + 2) options.push_back(page.substr(at, end - at));
    }
    return options;
}

TEST(Help, shows_no_option_that_its_command_does_not_have) {
    for (Command command : {Command::kIndex, Command::kSearch, Command::kList}) {
        const std::vector<std::string> options = options_in(help_text(command));
        EXPECT_GT(options.size(), 4u);
        for (const std::string& option : options) {
            const auto parsed = parse_arguments({command_name(command), "x", option, "5"});
            EXPECT_EQ(parsed.error.find("has no option"), std::string::npos) << parsed.error;
        }
    }
}

TEST(Help, fits_a_classic_console) {
    for (Command command : {Command::kNone, Command::kIndex, Command::kSearch, Command::kList}) {
        std::size_t begin = 0;
        const std::string page = help_text(command);
        ASSERT_EQ(page.back(), '\n');
        for (std::size_t end; (end = page.find('\n', begin)) != std::string::npos;) {
            EXPECT_LE(end - begin, 79u) << page.substr(begin, end - begin);
            begin = end + 1;
        }
    }
}

TEST(Help, the_version_is_the_projects) {
    EXPECT_EQ(version_text(), "system-search " SYSTEM_SEARCH_VERSION "\n");
}

}  // namespace
}  // namespace console
