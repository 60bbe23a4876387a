// A program under test, and what its window shows, read through the window's own messages.
#pragma once

#include <windows.h>

#include <memory>
#include <string>
#include <vector>

#include "remote_memory.hpp"

class WatchedProgram {
public:
    /// Starts the program; `command` as a user would type it. Throws when it does not start.
    explicit WatchedProgram(const std::wstring& command);
    ~WatchedProgram();
    WatchedProgram(const WatchedProgram&) = delete;
    WatchedProgram& operator=(const WatchedProgram&) = delete;

    /// "running", "shown" once the main window is visible, or "ended CODE".
    std::string state() const;
    DWORD process_number() const { return number_; }
    HANDLE process() const { return process_; }

    /// The functions below throw when there is no main window, or it does not answer.
    HWND main_window() const;
    HWND control(int number) const;

    std::wstring title() const;
    std::wstring text(int control_number) const;
    std::wstring status(int part) const;
    int count() const;
    std::wstring cell(int row, int column) const;
    std::vector<int> selected() const;
    int focused_row() const;
    int first_row_in_view() const;
    int rows_in_view() const;
    int column_width(int column) const;
    /// "up", "down" or "none": how the rows are sorted by a column.
    std::wstring arrow(int column) const;
    /// Of the list: its background and its text, as numbers.
    std::string list_colors() const;
    bool checked(int control_number) const;
    std::wstring choice(int control_number) const;
    std::vector<std::wstring> choices(int control_number) const;
    /// The control that has the keyboard, 0 when it is another window's.
    int focus() const;
    RECT place() const;
    bool maximized() const;
    RECT place_of(int control_number) const;
    RECT place_of_row(int row) const;
    RECT place_of_column(int column) const;
    /// The number by which the X server knows the main window, under Wine.
    std::size_t number_on_screen() const;
    /// What a screen reader is told that a control is.
    std::wstring spoken_name(int control_number) const;
    /// The texts of a box that the program has opened, the title first; empty when there is none.
    std::vector<std::wstring> box() const;

    void ask_to_close() const;
    /// Closes the window and waits until the program has ended.
    double closing_time_ms() const;
    /// One of the window menu's: SC_MAXIMIZE, SC_RESTORE.
    void command(WPARAM command) const;
    void change_dpi(int dpi) const;
    /// A message without parameters.
    void tell(UINT message) const;
    /// A key as it comes again while it is held.
    void hold_key(int control_number, int key) const;
    void place_at(int x, int y, int width, int height) const;
    void choose(int control_number, int index) const;
    void end() const;

private:
    LRESULT send(HWND window, UINT message, WPARAM wparam, LPARAM lparam) const;
    std::wstring window_text(HWND window) const;
    RECT remote_rectangle(HWND window, UINT message, WPARAM wparam, RECT start) const;

    /// For the parameters of messages. Taken once, so that a program that has run out of memory can
    /// be looked at, too.
    RemoteMemory& shared_memory() const;

    HANDLE process_ = nullptr;
    mutable std::unique_ptr<RemoteMemory> memory_;
    DWORD number_ = 0;
};
