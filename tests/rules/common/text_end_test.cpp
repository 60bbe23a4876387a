// Texts that end in the middle of a character while what lies behind them goes on with it, and
// where nothing may be read behind that: so a step past the end fails without a sanitizer too.
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>

#include "common/text.hpp"

namespace system_search {
namespace {

// A page, and behind it one that ends the program when it is read.
class LastPage {
public:
    LastPage() {
        void* const pages =
            mmap(nullptr, 2 * page_, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
        if (pages == MAP_FAILED) throw std::bad_alloc();
        begin_ = static_cast<char*>(pages);
        mprotect(begin_ + page_, page_, PROT_NONE);
    }
    ~LastPage() { munmap(begin_, 2 * page_); }
    LastPage(const LastPage&) = delete;
    LastPage& operator=(const LastPage&) = delete;

    // The text, copied to the very end of the page.
    template <typename Unit>
    std::basic_string_view<Unit> hold(const std::basic_string<Unit>& text) {
        Unit* const to = reinterpret_cast<Unit*>(begin_ + page_) - text.size();
        std::copy(text.begin(), text.end(), to);
        return {to, text.size()};
    }

private:
    const std::size_t page_ = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
    char* begin_;
};

TEST(TextEnd, cut_character_is_refused_whatever_stands_behind_the_text) {
    LastPage page;
    for (const std::string character : {"\xC3\xA4", "\xE2\x82\xAC", "\xF0\x9F\x98\x80"}) {
        for (std::size_t before = 0; before < 40; ++before) {
            const std::string_view whole = page.hold(std::string(before, 'a') + character);
            EXPECT_TRUE(is_valid_utf8(whole));
            for (std::size_t bytes = 1; bytes < character.size(); ++bytes) {
                const std::string_view cut = whole.substr(0, before + bytes);
                EXPECT_FALSE(is_valid_utf8(cut)) << before << " before " << bytes;
                std::u16string wide;
                EXPECT_FALSE(append_wide(cut, wide)) << before << " before " << bytes;
                EXPECT_EQ(wide, u"");
            }
        }
    }
}

TEST(TextEnd, cut_surrogate_pair_is_refused_whatever_stands_behind_the_text) {
    LastPage page;
    for (std::size_t before = 0; before < 40; ++before) {
        const std::u16string_view whole = page.hold(std::u16string(before, u'a') + u"\U0001F600");
        std::string utf8;
        EXPECT_FALSE(append_utf8(whole.substr(0, before + 1), utf8)) << before;
        EXPECT_EQ(utf8, "");
        EXPECT_TRUE(append_utf8(whole, utf8)) << before;
    }
}

}  // namespace
}  // namespace system_search
