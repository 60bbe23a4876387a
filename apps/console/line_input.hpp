/* Standard input as lines of UTF-8 text: typed at a console, or read from a pipe or a file. */
#pragma once

#include <string>

namespace console {

/* Not for several threads. */
class LineInput {
public:
    LineInput();

    bool is_terminal() const { return is_terminal_; }

    /* True when a key waits to be read, at a terminal. */
    bool is_key_waiting() const;

    enum Outcome { kLine, kEnd, kMalformed };

    /* Waits for a line; its end (LF or CR LF) is not part of it. kMalformed: the line is not
       Unicode text; the next one may be. kEnd also when reading fails or is interrupted. */
    Outcome read_line(std::string& line);

private:
    bool read_raw_line(std::string& line);
    bool fill();

    void* const handle_;  // the process's, not owned
    bool is_terminal_;
    bool ended_ = false;
    bool at_start_ = true;
    std::string buffer_;  // read, not yet given
};

}  // namespace console
