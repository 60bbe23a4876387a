/* Standard output and standard error as UTF-8 text: through the console's wide interface when it is
   a console, so that no code page can garble it, and byte for byte otherwise. */
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace console {

/* Not for several threads. What is written appears at the latest with flush(). */
class TextOutput {
public:
    enum Stream { kStandardOutput, kStandardError };

    explicit TextOutput(Stream stream);
    ~TextOutput() { flush(); }
    TextOutput(const TextOutput&) = delete;
    TextOutput& operator=(const TextOutput&) = delete;

    bool is_terminal() const { return is_terminal_; }

    /* The terminal's width in characters; 0 when it is not a terminal. */
    std::size_t columns() const;

    void write(std::string_view text);
    void flush();

    /* True once something could not be written; later writes are dropped. */
    bool failed() const { return failed_; }

    /* True when it failed because the reader went away, as `head` does: no reason to complain. */
    bool reader_left() const { return reader_left_; }

private:
    bool write_console();
    bool write_bytes();

    void* const handle_;  // the process's, not owned
    bool is_terminal_;
    bool failed_ = false;
    bool reader_left_ = false;
    std::string pending_;  // whole characters
};

}  // namespace console
