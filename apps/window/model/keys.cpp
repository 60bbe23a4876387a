#include "model/keys.hpp"

namespace window {
namespace {

bool is_letter(unsigned key) {
    return key >= 'A' && key <= 'Z';
}

/* Opening starts programs: a held key must not start one again and again. */
Command once(const KeyPress& press, Command command) {
    return press.is_repeated ? Command::kIgnore : command;
}

/* The underlined letters. By the key, not by its letter, so that they work on every keyboard. */
Command with_alt(const KeyPress& press) {
    switch (press.key) {
        case 'S':
            return Command::kToBox;
        case 'I':
            return Command::kToScope;
        case 'O':
            return once(press, Command::kPickFolder);
        case 'H':
            return Command::kToKind;
        case 'M':
            return once(press, Command::kToggleCase);
        case 'W':
            return once(press, Command::kTogglePath);
        default:
            return Command::kNone;
    }
}

Command copy_command(const KeyPress& press, const KeyContext& context) {
    if (context.place == Place::kElsewhere) return Command::kNone;
    if (context.place == Place::kBox && context.text_is_selected) return Command::kNone;
    return press.shift ? Command::kCopyPaths : Command::kCopy;
}

Command with_control(const KeyPress& press, const KeyContext& context) {
    switch (press.key) {
        case 'F':
        case 'L':
            return Command::kToBox;
        case 'O':
            return once(press, Command::kPickFolder);
        case 'A':
            return context.place == Place::kElsewhere ? Command::kNone : Command::kSelectAll;
        case 'C':
        case key::kInsert:
            return copy_command(press, context);
        case 'Z':
            return context.place == Place::kElsewhere ? Command::kNone : Command::kUndo;
        case key::kBackspace:
            return context.place == Place::kElsewhere ? Command::kNone : Command::kDeleteWord;
        default:
            return Command::kNone;
    }
}

Command enter_command(const KeyPress& press, const KeyContext& context) {
    if (context.place == Place::kElsewhere) return Command::kNone;
    if (press.alt) return once(press, Command::kProperties);
    return once(press, press.control ? Command::kShow : Command::kOpen);
}

}  // namespace

Command command_of(const KeyPress& press, const KeyContext& context) {
    const bool is_alt_gr = press.control && press.alt;
    if (is_alt_gr) return Command::kNone;
    switch (press.key) {
        case key::kEnter:
            return enter_command(press, context);
        case key::kF1:
            return once(press, Command::kDetails);
        case key::kF3:
            return Command::kToBox;
        case key::kF5:
            return once(press, Command::kRefresh);
        case key::kEscape:
            return context.choice_is_open || press.alt || press.control ? Command::kNone
                                                                        : Command::kEmptyBox;
        case key::kUp:
        case key::kDown:
        case key::kPageUp:
        case key::kPageDown:
            return context.place == Place::kBox && !press.alt ? Command::kMoveInList
                                                              : Command::kNone;
        default:
            break;
    }
    if (press.alt) return is_letter(press.key) ? with_alt(press) : Command::kNone;
    return press.control ? with_control(press, context) : Command::kNone;
}

bool belongs_into_box(unsigned sign) {
    constexpr unsigned kDelete = 0x7F;
    return sign > ' ' && sign != kDelete;
}

}  // namespace window
