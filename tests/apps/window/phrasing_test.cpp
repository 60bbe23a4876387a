#include "model/phrasing.hpp"

#include <gtest/gtest.h>

#include <algorithm>

namespace window {
namespace {

using Texts = std::vector<std::string>;

Texts asked(const std::string& text) {
    Texts questions = phrase({text}).questions;
    std::sort(questions.begin(), questions.end());
    return questions;
}

Texts asked_with_case(const std::string& text) {
    return phrase({text, ss::Kind::kAny, /*match_case=*/true}).questions;
}

TEST(Phrasing, one_word_is_asked_as_it_is_typed) {
    EXPECT_EQ(asked("report"), Texts{"report"});
    EXPECT_EQ(asked(""), Texts{""});
    EXPECT_EQ(asked("  "), Texts{""});
    EXPECT_EQ(asked(" Report "), Texts{"Report"});
    EXPECT_EQ(asked("\""), Texts{""});
}

TEST(Phrasing, two_and_three_words_are_asked_in_each_order) {
    EXPECT_EQ(asked("final march"), (Texts{"*final*march*", "*march*final*"}));
    EXPECT_EQ(asked("a bb ccc"), (Texts{"*a*bb*ccc*", "*a*ccc*bb*", "*bb*a*ccc*", "*bb*ccc*a*",
                                        "*ccc*a*bb*", "*ccc*bb*a*"}));
    EXPECT_EQ(asked("an an"), Texts{"*an*an*"});
    EXPECT_FALSE(phrase({"a bb ccc"}).holds_rows);
}

TEST(Phrasing, of_more_words_the_three_longest_are_asked_and_the_rows_held_to_all) {
    const Phrasing phrasing = phrase({"of march the invoice final"});
    EXPECT_EQ(phrasing.words, (Texts{"invoice", "march", "final", "the", "of"}));
    EXPECT_EQ(phrasing.questions.size(), 6u);
    EXPECT_EQ(phrasing.questions[0], "*invoice*march*final*");
    EXPECT_TRUE(phrasing.holds_rows);
}

TEST(Phrasing, in_quotes_blanks_are_a_part_of_the_word) {
    EXPECT_EQ(asked("\"final march\""), Texts{"final march"});
    EXPECT_EQ(asked("\"trailing blank \""), Texts{"trailing blank "});
    EXPECT_EQ(asked("\"final mar"), Texts{"final mar"});
    EXPECT_EQ(asked("\"final march\" doc"), (Texts{"*doc*final march*", "*final march*doc*"}));
}

TEST(Phrasing, a_pattern_keeps_its_blanks) {
    EXPECT_EQ(asked("final *.txt"), Texts{"final *.txt"});
    EXPECT_EQ(asked("*.txt "), Texts{"*.txt"});
    EXPECT_FALSE(phrase({"final *.txt"}).whole_path);
}

TEST(Phrasing, a_path_is_found_without_its_quotes_and_the_blanks_around_it) {
    EXPECT_EQ(asked("\"C:/My docs/a b.txt\""), Texts{"C:/My docs/a b.txt"});
    EXPECT_EQ(asked("C:/My docs/a b.txt "), Texts{"C:/My docs/a b.txt"});
    EXPECT_TRUE(phrase({"docs/a"}).whole_path);
    EXPECT_FALSE(phrase({"docs"}).whole_path);
}

TEST(Phrasing, a_pattern_of_a_path_may_begin_in_any_folder) {
    EXPECT_EQ(asked("docs/*.txt"), Texts{"*docs/*.txt"});
    EXPECT_EQ(asked("/docs/*.txt"), Texts{"*/docs/*.txt"});
    EXPECT_EQ(asked("?/a"), Texts{"*?/a"});
    EXPECT_EQ(asked("*/src/*.c"), Texts{"*/src/*.c"});
    EXPECT_EQ(asked("C:/Users/*"), Texts{"C:/Users/*"});
    EXPECT_EQ(asked("//server/share/*"), Texts{"//server/share/*"});
    EXPECT_EQ(asked("docs/a"), Texts{"docs/a"});
}

TEST(Phrasing, each_letter_beyond_a_to_z_is_asked_in_both_cases) {
    EXPECT_EQ(asked("überstunden"), (Texts{"Überstunden", "überstunden"}));
    EXPECT_EQ(asked("ÜberÄ"), (Texts{"ÜberÄ", "Überä", "überÄ", "überä"}));
    EXPECT_EQ(asked("*.żó?"), (Texts{"*.ŻÓ?", "*.Żó?", "*.żÓ?", "*.żó?"}));
    EXPECT_EQ(asked("straße"), Texts{"straße"});
    EXPECT_EQ(asked("übung a"), (Texts{"*a*Übung*", "*a*übung*", "*Übung*a*", "*übung*a*"}));
    EXPECT_EQ(asked("ü b c").size(), 12u);
    EXPECT_EQ(asked("ü ü"), (Texts{"*Ü*Ü*", "*Ü*ü*", "*ü*Ü*", "*ü*ü*"}));
    EXPECT_TRUE(phrase({"ü b c"}).all_cases);
}

TEST(Phrasing, what_is_typed_is_asked_first) {
    EXPECT_EQ(phrase({"Überstunden"}).questions[0], "Überstunden");
    EXPECT_EQ(phrase({"oТчЁТы"}).questions[0], "oТчЁТы");
}

TEST(Phrasing, when_case_matters_the_text_is_asked_as_it_is) {
    EXPECT_EQ(asked_with_case("überstunden"), Texts{"überstunden"});
    EXPECT_EQ(asked_with_case("отчёты за март").size(), 6u);
    EXPECT_TRUE(phrase({"отчёты", ss::Kind::kAny, true}).all_cases);
}

TEST(Phrasing, beyond_twelve_questions_the_usual_spellings_are_asked_and_it_is_told) {
    const Phrasing word = phrase({"отчёт"});
    EXPECT_FALSE(word.all_cases);
    EXPECT_EQ(word.questions, (Texts{"отчёт", "Отчёт", "ОТЧЁТ"}));
    EXPECT_EQ(asked("отЧёт"), (Texts{"ОТЧЁТ", "Отчёт", "отЧёт", "отчёт"}));
    EXPECT_EQ(phrase({"годовой-отчёт"}).questions[1], "Годовой-Отчёт");
    EXPECT_EQ(phrase({"годовой отчёт"}).questions.size(), 6u);
    EXPECT_FALSE(phrase({"ü ö c"}).all_cases);
    EXPECT_EQ(phrase({"ü ö c"}).questions.size(), 12u);
}

TEST(Phrasing, no_text_is_more_than_twelve_questions) {
    const Texts pieces{"a", "ü", "Ж", " ", "/", "*", "\"", "bb"};
    Texts texts{""};
    for (std::size_t i = 0; texts.size() < 20'000; ++i) {
        for (const std::string& piece : pieces) texts.push_back(texts[i] + piece);
    }
    for (const std::string& text : texts) {
        const Phrasing phrasing = phrase({text});
        EXPECT_GE(phrasing.questions.size(), 1u) << text;
        EXPECT_LE(phrasing.questions.size(), Phrasing::kMaxQuestions) << text;
        EXPECT_GE(phrasing.words.size(), 1u) << text;
    }
}

}  // namespace
}  // namespace window
