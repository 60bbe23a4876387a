/* What a key means. It is decided without a window, because some of its rules show on few keyboards
 * only: AltGr, which writes the letters of many languages, comes as Ctrl and Alt together. */
#pragma once

namespace window {

/* The keys that have no letter, by the numbers that Windows gives them. */
namespace key {
inline constexpr unsigned kBackspace = 0x08;
inline constexpr unsigned kEnter = 0x0D;
inline constexpr unsigned kEscape = 0x1B;
inline constexpr unsigned kPageUp = 0x21;
inline constexpr unsigned kPageDown = 0x22;
inline constexpr unsigned kUp = 0x26;
inline constexpr unsigned kDown = 0x28;
inline constexpr unsigned kInsert = 0x2D;
inline constexpr unsigned kF1 = 0x70;
inline constexpr unsigned kF3 = 0x72;
inline constexpr unsigned kF5 = 0x74;
}  // namespace key

/* A key that goes down, with what is held. Letters and digits are their capital ASCII signs. */
struct KeyPress {
    unsigned key = 0;
    bool control = false;
    bool alt = false;
    bool shift = false;
    bool is_repeated = false;  // it is held down, and comes again
};

enum class Place { kBox, kList, kElsewhere };

/* Where the keyboard is, and how it is there. */
struct KeyContext {
    Place place = Place::kElsewhere;
    bool text_is_selected = false;  // in the box
    bool choice_is_open = false;    // one of the drop-down lists
};

enum class Command {
    kNone,    // not a key of the window: the control gets it
    kIgnore,  // a key of the window that does nothing now
    kDetails,
    kRefresh,
    kToBox,
    kToScope,
    kToKind,
    kPickFolder,
    kToggleCase,
    kTogglePath,
    kEmptyBox,
    kDeleteWord,
    kUndo,
    kMoveInList,
    kSelectAll,
    kOpen,
    kShow,
    kProperties,
    kCopy,
    kCopyPaths,
};

Command command_of(const KeyPress& press, const KeyContext& context);

/* A sign that was typed outside of the box is meant for it: all but a blank, which presses buttons,
   and the signs of Enter, Esc and their like. */
bool belongs_into_box(unsigned sign);

}  // namespace window
