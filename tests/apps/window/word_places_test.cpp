#include "model/word_places.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>

namespace window {
namespace {

using Words = std::vector<std::string>;

/* Whether one of the patterns "*a*b*", in any order of the words, matches. */
bool matches_in_some_order(const std::string& subject, Words words) {
    std::sort(words.begin(), words.end());
    do {
        std::size_t at = 0;
        for (const std::string& word : words) {
            if (at != std::string::npos) at = subject.find(word, at);
            if (at != std::string::npos) at += word.size();
        }
        if (at != std::string::npos) return true;
    } while (std::next_permutation(words.begin(), words.end()));
    return false;
}

TEST(WordPlaces, words_stand_in_any_order_beside_one_another) {
    EXPECT_EQ(place_words("march final", {"final", "march"}),
              (std::vector<Range>{{0, 5}, {6, 11}}));
    EXPECT_EQ(place_words("banana", {"an", "an"}), (std::vector<Range>{{1, 3}, {3, 5}}));
    EXPECT_TRUE(place_words("reportal", {"report", "portal"}).empty());
    EXPECT_TRUE(place_words("march", {"final", "march"}).empty());
    EXPECT_EQ(place_words("aab", {"ab", "a"}), (std::vector<Range>{{0, 1}, {1, 3}}));
}

TEST(WordPlaces, more_than_eight_words_have_to_occur) {
    const Words words{"a", "b", "c", "d", "e", "f", "g", "h", "i"};
    EXPECT_EQ(place_words("ihgfedcba", words).size(), 8u);
    EXPECT_TRUE(place_words("hgfedcba", words).empty());
}

TEST(WordPlaces, they_are_found_exactly_when_some_order_of_them_is) {
    std::mt19937 random(20240501);  // NOLINT(bugprone-random-generator-seed): the same each time
    const auto text = [&](std::size_t most) {
        std::string made(1 + random() % most, 'a');
        for (char& sign : made) sign = static_cast<char>('a' + random() % 3);
        return made;
    };
    int found = 0;
    for (int i = 0; i < 20'000; ++i) {
        const std::string subject = text(10);
        Words words(1 + random() % 4);
        for (std::string& word : words) word = text(3);
        const std::vector<Range> places = place_words(subject, words);
        ASSERT_EQ(!places.empty(), matches_in_some_order(subject, words)) << subject;
        if (places.empty()) continue;
        ++found;
        Words placed;
        std::size_t end = 0;
        for (const Range& place : places) {
            EXPECT_LE(end, place.begin);
            end = place.end;
            placed.push_back(subject.substr(place.begin, place.end - place.begin));
        }
        std::sort(words.begin(), words.end());
        std::sort(placed.begin(), placed.end());
        EXPECT_EQ(placed, words);
    }
    EXPECT_GT(found, 1000);
}

}  // namespace
}  // namespace window
