#include "model/keys.hpp"

#include <gtest/gtest.h>

namespace window {
namespace {

constexpr KeyContext kBox{Place::kBox, false, false};
constexpr KeyContext kList{Place::kList, false, false};
constexpr KeyContext kElsewhere{Place::kElsewhere, false, false};

KeyPress plain(unsigned key) {
    return {key, false, false, false, false};
}
KeyPress control(unsigned key) {
    return {key, true, false, false, false};
}
KeyPress alt(unsigned key) {
    return {key, false, true, false, false};
}
KeyPress alt_gr(unsigned key) {
    return {key, true, true, false, false};
}

TEST(Keys, alt_gr_writes_letters_and_is_no_shortcut) {
    for (const KeyContext& context : {kBox, kList, kElsewhere}) {
        for (unsigned key = 'A'; key <= 'Z'; ++key) {
            EXPECT_EQ(command_of(alt_gr(key), context), Command::kNone) << key;
        }
        EXPECT_EQ(command_of(alt_gr(key::kEnter), context), Command::kNone);
        EXPECT_EQ(command_of(alt_gr(key::kBackspace), context), Command::kNone);
    }
}

TEST(Keys, a_held_key_opens_once) {
    KeyPress press = plain(key::kEnter);
    EXPECT_EQ(command_of(press, kBox), Command::kOpen);
    press.is_repeated = true;
    EXPECT_EQ(command_of(press, kBox), Command::kIgnore);
    EXPECT_EQ(command_of(press, kList), Command::kIgnore);
    press.control = true;
    EXPECT_EQ(command_of(press, kList), Command::kIgnore);
    press = alt(key::kEnter);
    press.is_repeated = true;
    EXPECT_EQ(command_of(press, kList), Command::kIgnore);
    press = control('O');
    press.is_repeated = true;
    EXPECT_EQ(command_of(press, kBox), Command::kIgnore);
    press = plain(key::kDown);  // but walks on and on
    press.is_repeated = true;
    EXPECT_EQ(command_of(press, kBox), Command::kMoveInList);
}

TEST(Keys, enter_belongs_to_the_box_and_the_list) {
    for (const KeyContext& context : {kBox, kList}) {
        EXPECT_EQ(command_of(plain(key::kEnter), context), Command::kOpen);
        EXPECT_EQ(command_of(control(key::kEnter), context), Command::kShow);
        EXPECT_EQ(command_of(alt(key::kEnter), context), Command::kProperties);
    }
    EXPECT_EQ(command_of(plain(key::kEnter), kElsewhere), Command::kNone);
}

TEST(Keys, copying_leaves_a_text_that_is_selected_in_the_box_to_the_box) {
    EXPECT_EQ(command_of(control('C'), kList), Command::kCopy);
    EXPECT_EQ(command_of(control('C'), kBox), Command::kCopy);
    EXPECT_EQ(command_of(control(key::kInsert), kBox), Command::kCopy);
    EXPECT_EQ(command_of({'C', true, false, true, false}, kBox), Command::kCopyPaths);
    const KeyContext selected{Place::kBox, true, false};
    EXPECT_EQ(command_of(control('C'), selected), Command::kNone);
    EXPECT_EQ(command_of({'C', true, false, true, false}, selected), Command::kNone);
    const KeyContext list_with_selected_text{Place::kList, true, false};
    EXPECT_EQ(command_of(control('C'), list_with_selected_text), Command::kCopy);
    EXPECT_EQ(command_of(control('C'), kElsewhere), Command::kNone);
    EXPECT_EQ(command_of(plain('C'), kList), Command::kNone);
}

TEST(Keys, the_text_can_be_edited_from_the_list_as_well) {
    for (const KeyContext& context : {kBox, kList}) {
        EXPECT_EQ(command_of(control(key::kBackspace), context), Command::kDeleteWord);
        EXPECT_EQ(command_of(control('Z'), context), Command::kUndo);
        EXPECT_EQ(command_of(control('A'), context), Command::kSelectAll);
        EXPECT_EQ(command_of(control('F'), context), Command::kToBox);
        EXPECT_EQ(command_of(control('L'), context), Command::kToBox);
        EXPECT_EQ(command_of(plain(key::kF3), context), Command::kToBox);
        EXPECT_EQ(command_of(plain(key::kEscape), context), Command::kEmptyBox);
    }
    EXPECT_EQ(command_of(plain(key::kBackspace), kBox), Command::kNone);
}

TEST(Keys, every_underlined_letter_works_from_everywhere) {
    for (const KeyContext& context : {kBox, kList, kElsewhere}) {
        EXPECT_EQ(command_of(alt('S'), context), Command::kToBox);
        EXPECT_EQ(command_of(alt('I'), context), Command::kToScope);
        EXPECT_EQ(command_of(alt('O'), context), Command::kPickFolder);
        EXPECT_EQ(command_of(alt('H'), context), Command::kToKind);
        EXPECT_EQ(command_of(alt('M'), context), Command::kToggleCase);
        EXPECT_EQ(command_of(alt('W'), context), Command::kTogglePath);
    }
}

TEST(Keys, what_the_window_does_not_know_is_left_to_the_system) {
    constexpr unsigned kF4 = 0x73;
    for (const KeyContext& context : {kBox, kList, kElsewhere}) {
        EXPECT_EQ(command_of(alt(kF4), context), Command::kNone);
        EXPECT_EQ(command_of(alt(' '), context), Command::kNone);
        EXPECT_EQ(command_of(plain('S'), context), Command::kNone);
    }
    EXPECT_EQ(command_of(alt(key::kDown), kBox), Command::kNone);
    EXPECT_EQ(command_of(plain(key::kDown), kList), Command::kNone);
    const KeyContext open_choice{Place::kElsewhere, false, true};
    EXPECT_EQ(command_of(plain(key::kEscape), open_choice), Command::kNone);
}

TEST(Keys, signs_that_press_buttons_stay_where_they_were_typed) {
    EXPECT_TRUE(belongs_into_box('m'));
    EXPECT_TRUE(belongs_into_box(0x142));  // a Polish letter
    for (unsigned sign : {0x08u, 0x09u, 0x0Du, 0x1Bu, 0x20u, 0x7Fu}) {
        EXPECT_FALSE(belongs_into_box(sign)) << sign;
    }
}

}  // namespace
}  // namespace window
