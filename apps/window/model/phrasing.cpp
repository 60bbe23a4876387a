#include "model/phrasing.hpp"

#include <algorithm>
#include <numeric>
#include <utility>

#include "model/letter_case.hpp"

namespace window {
namespace {

using Words = std::vector<std::string>;

bool holds_any(std::string_view text, std::string_view signs) {
    return text.find_first_of(signs) != std::string_view::npos;
}

bool is_blank(char sign) {
    return sign == ' ' || sign == '\t';
}

Words split(std::string_view text) {
    Words words;
    std::string word;
    bool quoted = false;
    const auto end_word = [&] {
        if (!word.empty()) words.push_back(std::exchange(word, std::string()));
    };
    for (const char sign : text) {
        if (sign == '"') {
            quoted = !quoted;
        } else if (is_blank(sign) && !quoted) {
            end_word();
        } else {
            word += sign;
        }
    }
    end_word();
    return words;
}

/* Without quotes, and without the blanks around the text: a path that was pasted often has some. */
std::string bare(std::string_view text) {
    while (!text.empty() && is_blank(text.front())) text.remove_prefix(1);
    while (!text.empty() && is_blank(text.back())) text.remove_suffix(1);
    std::string without_quotes(text);
    std::erase(without_quotes, '"');
    return without_quotes;
}

bool begins_at_a_root(std::string_view path) {
    return path.starts_with("*") || path.starts_with("//") || path.substr(1).starts_with(":");
}

/* A pattern of a path seldom begins at the drive: it may begin in any folder. */
std::string from_any_folder(std::string path) {
    if (!path.empty() && holds_any(path, "*?") && !begins_at_a_root(path)) path.insert(0, "*");
    return path;
}

/* A letter of a text that has two cases. */
struct CasedLetter {
    std::size_t word;
    std::size_t begin;
    char32_t letter;
    bool begins_a_word;
};

std::vector<CasedLetter> cased_letters(const Words& words) {
    std::vector<CasedLetter> found;
    for (std::size_t word = 0; word < words.size(); ++word) {
        bool begins = true;
        for (std::size_t at = 0; at < words[word].size();) {
            const std::size_t begin = at;
            const char32_t letter = take_code_point(words[word], at);
            if (other_case(letter) != 0) found.push_back({word, begin, letter, begins});
            const bool is_plain =
                (letter >= 'A' && letter <= 'Z') || (letter >= 'a' && letter <= 'z');
            begins = letter != 0 && letter < 0x80 && !is_plain;
        }
    }
    return found;
}

/* The words with each of these letters in the case that `wants_uppercase` gives it by its number.
 */
template <typename WantsUppercase>
Words written(Words words, const std::vector<CasedLetter>& letters,
              WantsUppercase wants_uppercase) {
    for (std::size_t i = 0; i < letters.size(); ++i) {
        const CasedLetter& at = letters[i];
        if (is_uppercase(at.letter) == wants_uppercase(i)) continue;
        std::string other;
        append_code_point(other, other_case(at.letter));
        words[at.word].replace(at.begin, other.size(), other);
    }
    return words;
}

void add_new(std::vector<Words>& spellings, Words spelling) {
    if (std::find(spellings.begin(), spellings.end(), spelling) == spellings.end()) {
        spellings.push_back(std::move(spelling));
    }
}

/* As typed first; then with every choice of cases if `most` allows, else as words are usually
   written: in lowercase, with an uppercase letter in front, in uppercase. */
std::vector<Words> spellings_of(const Words& words, std::size_t most, bool& all_cases) {
    const std::vector<CasedLetter> letters = cased_letters(words);
    std::vector<Words> spellings{words};
    all_cases = letters.size() < 8 && (std::size_t{1} << letters.size()) <= most;
    if (all_cases) {
        for (std::size_t choice = 0; choice < std::size_t{1} << letters.size(); ++choice) {
            add_new(spellings,
                    written(words, letters, [&](std::size_t i) { return (choice >> i & 1) != 0; }));
        }
        return spellings;
    }
    add_new(spellings, written(words, letters, [](std::size_t) { return false; }));
    add_new(spellings,
            written(words, letters, [&](std::size_t i) { return letters[i].begins_a_word; }));
    add_new(spellings, written(words, letters, [](std::size_t) { return true; }));
    if (spellings.size() > most) spellings.resize(most);
    return spellings;
}

/* One pattern for each order of the words; of one word the text itself. */
void add_orders(Words& questions, const Words& words) {
    std::vector<std::size_t> order(words.size());
    std::iota(order.begin(), order.end(), std::size_t{0});
    do {
        std::string question = words.size() == 1 ? words[0] : "*";
        for (std::size_t i = 0; words.size() > 1 && i < order.size(); ++i) {
            question += words[order[i]] + "*";
        }
        if (std::find(questions.begin(), questions.end(), question) == questions.end()) {
            questions.push_back(std::move(question));
        }
    } while (std::next_permutation(order.begin(), order.end()));
}

std::size_t order_count(std::size_t words) {
    std::size_t orders = 1;
    for (std::size_t i = 2; i <= words; ++i) orders *= i;
    return orders;
}

}  // namespace

Phrasing phrase(const Question& question) {
    Phrasing phrasing;
    phrasing.match_case = question.match_case;
    phrasing.whole_path = question.matches_path();
    if (question.text.find('/') != std::string::npos) {
        phrasing.words = {from_any_folder(bare(question.text))};
    } else if (holds_any(question.text, "*?")) {
        phrasing.words = {bare(question.text)};
    } else {
        for (std::string& word : split(question.text)) {
            const auto at = std::upper_bound(
                phrasing.words.begin(), phrasing.words.end(), word,
                [](const std::string& a, const std::string& b) { return a.size() > b.size(); });
            phrasing.words.insert(at, std::move(word));
        }
        if (phrasing.words.empty()) phrasing.words = {""};
    }
    Words asked = phrasing.words;
    if (asked.size() > Phrasing::kMaxAsked) asked.resize(Phrasing::kMaxAsked);
    phrasing.holds_rows = asked.size() < phrasing.words.size();
    std::vector<Words> spellings{asked};
    if (!question.match_case) {
        const std::size_t most = Phrasing::kMaxQuestions / order_count(asked.size());
        spellings = spellings_of(asked, most, phrasing.all_cases);
    }
    for (const Words& spelling : spellings) add_orders(phrasing.questions, spelling);
    return phrasing;
}

}  // namespace window
