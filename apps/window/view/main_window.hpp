/* The window: puts the parts together and hands their news to one another. */
#pragma once

#include <windows.h>

#include <chrono>
#include <ctime>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "model/index_session.hpp"
#include "model/keys.hpp"
#include "model/numbers.hpp"
#include "model/searches.hpp"
#include "model/sentences.hpp"
#include "model/settings.hpp"
#include "model/worker.hpp"
#include "system/measurements.hpp"
#include "system/shell_thread.hpp"
#include "view/result_list.hpp"
#include "view/search_bar.hpp"
#include "view/status_bar.hpp"

namespace window {

class MainWindow {
public:
    /* `settings_folder`: where settings and caches are kept. */
    MainWindow(Settings settings, std::string settings_folder, Measurements& measurements);
    ~MainWindow();
    MainWindow(const MainWindow&) = delete;
    MainWindow& operator=(const MainWindow&) = delete;

    /* Makes and shows the window. False when the system gives none. */
    bool open();

    /* Takes a message that was typed for the whole window, or for another control than the one
       that has the focus. */
    bool translate(MSG& message) noexcept;

    /* Looks at what the library has done meanwhile. */
    void tick() noexcept;

    /* How long the message loop may sleep before the next tick(), in milliseconds. */
    DWORD patience() const;

    /* Gives back what the library holds. False when it could not within `patience`. */
    bool close_library(std::chrono::milliseconds patience);

private:
    static constexpr UINT kBackgroundDone = WM_APP + 16;
    static LRESULT CALLBACK on_message(HWND handle, UINT message, WPARAM wparam, LPARAM lparam);
    LRESULT handle_message(UINT message, WPARAM wparam, LPARAM lparam);
    bool take_message(MSG& message);
    bool handle_key(const MSG& message);
    bool carry_out(Command command, const MSG& message);
    KeyContext key_context(HWND focused) const;
    void edit_box(Command command);
    void tell_no_memory() noexcept;

    void create_parts();
    void set_dpi(int dpi);
    void darken();
    void layout();
    void on_command(int id, int code);
    LRESULT on_notify(NMHDR& header);
    void on_context_menu(HWND from, POINT at);
    void on_dpi_changed(int dpi, const RECT* suggested);
    void on_close();

    void look();
    void ask();
    void remember_settings();
    void open_scope(const std::string& scope);
    void pick_folder();
    void show_answer(Found found);
    void set_pace(bool needs_beats);
    void show_status();
    void show_details();
    void tell(const std::string& trouble);

    // What is done with results: with those that were meant when the key or the menu was used.
    using Paths = std::vector<std::string>;
    using Action = void (MainWindow::*)(const Paths& paths);
    void act_on_pointed(Action action, bool from_box);
    void in_background(std::function<std::string()> task);
    bool confirms(const std::string& question);
    void open_results(const Paths& paths);
    void show_in_folders(const Paths& paths);
    std::vector<std::wstring> to_pass_on(const Paths& paths);
    void copy_results(const Paths& paths);
    void copy_paths(const Paths& paths);
    void copy_names(const Paths& paths);
    void show_properties_of_result(const Paths& paths);
    void drag_results();

    Settings settings_;
    const std::string settings_folder_;
    Measurements& measurements_;
    Worker worker_;      // destroys queries and engines
    ShellThread shell_;  // opens, shows, asks the shell
    HWND window_ = nullptr;
    HWND focus_ = nullptr;  // the control that had the focus when the window lost it
    HFONT font_ = nullptr;
    int dpi_ = 96;
    std::optional<SearchBar> bar_;
    std::optional<ResultList> list_;
    std::optional<StatusBar> status_;
    std::unique_ptr<IndexSession> session_;
    Searches searches_;
    NumberStyle numbers_;
    Answer answer_;
    bool has_answer_ = false;
    std::string trouble_;            // until the next question is answered
    bool has_news_ = false;          // the status bar will say something else
    bool trouble_is_old_ = false;    // and there was a question since
    Action after_answer_ = nullptr;  // to be done when the question is answered
    bool beats_ = false;             // the timer is set
    bool is_fine_ = false;           // the system's clock is set to milliseconds
};

}  // namespace window
