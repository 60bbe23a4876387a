#include "view/main_window.hpp"

#include <mmsystem.h>
#include <windowsx.h>

#include <new>
#include <utility>

#include "common/wide_text.hpp"
#include "model/paths.hpp"
#include "system/dark_mode.hpp"
#include "system/files.hpp"
#include "system/folder_picker.hpp"
#include "system/locale_text.hpp"
#include "system/screens.hpp"

namespace window {
namespace {

constexpr const wchar_t* kClass = L"SystemSearchWindow";
constexpr UINT kIconArrived = WM_APP + 1;
constexpr UINT_PTR kHeartbeat = 1;
constexpr UINT kHeartbeatMilliseconds = 30;

}  // namespace

MainWindow::MainWindow(Settings settings, std::string settings_folder, Measurements& measurements)
    : settings_(std::move(settings)),
      settings_folder_(std::move(settings_folder)),
      measurements_(measurements),
      searches_([this](ss::Query query) { worker_.discard(std::move(query)); }),
      numbers_(user_number_style()) {}

MainWindow::~MainWindow() {
    if (font_) DeleteObject(font_);
}

bool MainWindow::open() {
    WNDCLASSEXW kind{};
    kind.cbSize = sizeof kind;
    kind.lpfnWndProc = on_message;
    kind.hInstance = GetModuleHandleW(nullptr);
    kind.hCursor = LoadCursorW(nullptr, IDC_ARROW);
    kind.hIcon = LoadIconW(kind.hInstance, MAKEINTRESOURCEW(1));
    kind.hbrBackground = reinterpret_cast<HBRUSH>(COLOR_BTNFACE + 1);
    kind.lpszClassName = kClass;
    RegisterClassExW(&kind);

    const Placement placement = settings_.placement.value_or(default_placement());
    const Box box = free_place(kClass, placement);
    CreateWindowExW(0, kClass, L"System Search", WS_OVERLAPPEDWINDOW | WS_CLIPCHILDREN, box.left,
                    box.top, box.width(), box.height(), nullptr, nullptr, kind.hInstance, this);
    if (!window_) return false;
    const bool is_alone = box == place(placement, all_screens());
    darken();
    ShowWindow(window_, placement.maximized && is_alone ? SW_SHOWMAXIMIZED : SW_SHOWNORMAL);
    UpdateWindow(window_);
    SetFocus(bar_->box());
    measurements_.since_start("window");
    ask();
    open_scope(settings_.scope);
    measurements_.since_start("index started");
    list_->open_icons();
    return true;
}

void MainWindow::create_parts() {
    bar_.emplace(window_, settings_);
    list_.emplace(window_, kListId, kIconArrived,
                  [this](ss::Query query) { worker_.discard(std::move(query)); });
    status_.emplace(window_, kStatusId);
    dpi_ = static_cast<int>(GetDpiForWindow(window_));
    set_dpi(dpi_);
    std::array<int, kColumnCount> widths{};
    for (std::size_t i = 0; i < kColumnCount; ++i) {
        widths[i] = scaled(settings_.column_widths[i], dpi_);
    }
    list_->set_column_widths(widths);
}

void MainWindow::set_dpi(int dpi) {
    NONCLIENTMETRICSW metrics{};
    metrics.cbSize = sizeof metrics;
    SystemParametersInfoForDpi(SPI_GETNONCLIENTMETRICS, sizeof metrics, &metrics, 0,
                               static_cast<UINT>(dpi));
    HFONT outdated = std::exchange(font_, CreateFontIndirectW(&metrics.lfMessageFont));
    dpi_ = dpi;
    bar_->set_font(font_, dpi);
    list_->set_font(font_, dpi);
    status_->set_font(font_);
    if (outdated) DeleteObject(outdated);
}

void MainWindow::darken() {
    const bool is_dark = system_is_dark();
    darken_title(window_, is_dark);
    list_->set_dark(is_dark);
}

void MainWindow::layout() {
    RECT client{};
    GetClientRect(window_, &client);
    const int width = static_cast<int>(client.right);
    const int top = bar_->layout(width);
    SendMessageW(status_->handle(), WM_SIZE, 0, 0);
    status_->divide();
    const int height = static_cast<int>(client.bottom) - top - status_->height();
    MoveWindow(list_->handle(), 0, top, width, std::max(0, height), TRUE);
}

// ---- Messages -----------------------------------------------------------------------------------

LRESULT CALLBACK MainWindow::on_message(HWND handle, UINT message, WPARAM wparam, LPARAM lparam) {
    auto* self = reinterpret_cast<MainWindow*>(GetWindowLongPtrW(handle, GWLP_USERDATA));
    if (message == WM_NCCREATE) {
        self = static_cast<MainWindow*>(reinterpret_cast<CREATESTRUCTW*>(lparam)->lpCreateParams);
        self->window_ = handle;
        SetWindowLongPtrW(handle, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(self));
    }
    if (!self) return DefWindowProcW(handle, message, wparam, lparam);
    try {
        return self->handle_message(message, wparam, lparam);
    } catch (const std::exception&) {
        self->tell_no_memory();
        return message == WM_CREATE ? -1 : 0;
    }
}

LRESULT MainWindow::handle_message(UINT message, WPARAM wparam, LPARAM lparam) {
    switch (message) {
        case WM_CREATE:
            create_parts();
            return 0;
        case WM_SIZE:
            if (wparam != SIZE_MINIMIZED) layout();
            return 0;
        case WM_GETMINMAXINFO:
            if (bar_) {
                auto& track = reinterpret_cast<MINMAXINFO*>(lparam)->ptMinTrackSize;
                track = {bar_->least_width(), scaled(260, dpi_)};
            }
            return 0;
        case WM_DPICHANGED:
            on_dpi_changed(HIWORD(wparam), reinterpret_cast<const RECT*>(lparam));
            return 0;
        case WM_SETTINGCHANGE:
            numbers_ = user_number_style();
            darken();
            set_dpi(dpi_);
            layout();
            return 0;
        case WM_SYSCOLORCHANGE:
        case WM_THEMECHANGED:
            list_->colors_changed();
            darken();
            SendMessageW(status_->handle(), message, 0, 0);
            return DefWindowProcW(window_, message, wparam, lparam);
        case WM_ACTIVATE:
            if (LOWORD(wparam) == WA_INACTIVE) focus_ = GetFocus();
            return DefWindowProcW(window_, message, wparam, lparam);
        case WM_SETFOCUS:
            SetFocus(focus_ && IsChild(window_, focus_) ? focus_ : bar_->box());
            return 0;
        case WM_COMMAND:
            on_command(LOWORD(wparam), HIWORD(wparam));
            return 0;
        case WM_NOTIFY:
            return on_notify(*reinterpret_cast<NMHDR*>(lparam));
        case WM_CONTEXTMENU:
            on_context_menu(reinterpret_cast<HWND>(wparam),
                            {GET_X_LPARAM(lparam), GET_Y_LPARAM(lparam)});
            return 0;
        case WM_TIMER:
            tick();
            return 0;
        case kBackgroundDone: {
            const std::unique_ptr<std::string> sentence(reinterpret_cast<std::string*>(lparam));
            tell(*sentence);
            return 0;
        }
        case kIconArrived:
            list_->icon_arrived(wparam, lparam);
            return 0;
        case WM_CLOSE:
            on_close();
            return 0;
        case WM_ENDSESSION:
            if (wparam) on_close();
            return 0;
        case WM_DESTROY:
            PostQuitMessage(0);
            return 0;
        default:
            return DefWindowProcW(window_, message, wparam, lparam);
    }
}

void MainWindow::on_dpi_changed(int dpi, const RECT* suggested) {
    std::array<int, kColumnCount> widths = list_->column_widths();
    for (int& width : widths) width = scaled(unscaled(width, dpi_), dpi);
    RECT box{};
    if (suggested) {
        box = *suggested;
    } else {
        GetWindowRect(window_, &box);
        box.right = box.left + scaled(unscaled(static_cast<int>(box.right - box.left), dpi_), dpi);
        box.bottom = box.top + scaled(unscaled(static_cast<int>(box.bottom - box.top), dpi_), dpi);
    }
    set_dpi(dpi);
    list_->set_column_widths(widths);
    SetWindowPos(window_, nullptr, box.left, box.top, box.right - box.left, box.bottom - box.top,
                 SWP_NOZORDER | SWP_NOACTIVATE);
    layout();
    RedrawWindow(window_, nullptr, nullptr, RDW_INVALIDATE | RDW_ERASE | RDW_ALLCHILDREN);
}

void MainWindow::on_command(int id, int code) {
    switch (id) {
        case kBoxId:
            if (code == EN_CHANGE) {
                measurements_.text_changed();
                ask();
            }
            break;
        case kKindId:
            if (code == CBN_SELCHANGE) ask();
            break;
        case kCaseId:
        case kPathId:
            if (code == BN_CLICKED) ask();
            break;
        case kScopeId:
            if (code == CBN_SELCHANGE) {
                const std::string scope = bar_->scope(settings_);
                if (scope != settings_.scope) {
                    open_scope(scope);
                    remember_settings();
                }
            }
            break;
        case kFolderId:
            if (code == BN_CLICKED) pick_folder();
            break;
        default:
            break;
    }
}

LRESULT MainWindow::on_notify(NMHDR& header) {
    if (header.hwndFrom == status_->handle()) {
        const bool is_click = header.code == NM_CLICK || header.code == NM_DBLCLK;
        const auto part = reinterpret_cast<NMMOUSE&>(header).dwItemSpec;
        if (is_click && (part == StatusBar::kIndex || part == StatusBar::kSkipped)) show_details();
        return 0;
    }
    if (header.hwndFrom != list_->handle()) return 0;
    if (const std::optional<LRESULT> answer = list_->on_notify(header)) return *answer;
    switch (header.code) {
        case NM_DBLCLK: {
            const int index = reinterpret_cast<NMITEMACTIVATE&>(header).iItem;
            const std::string path = list_->twice_clicked_path(index);
            if (!path.empty()) open_results({path});
            break;
        }
        case LVN_BEGINDRAG:
            drag_results();
            break;
        case LVN_COLUMNCLICK:
            show_status();
            break;
        default:
            break;
    }
    return 0;
}

void MainWindow::on_close() {
    const std::array<int, kColumnCount> widths = list_->column_widths();
    for (std::size_t i = 0; i < kColumnCount; ++i) {
        settings_.column_widths[i] = unscaled(widths[i], dpi_);
    }
    if (const auto question = bar_->question()) {
        settings_.kind = question->kind;
        settings_.match_case = question->match_case;
        settings_.whole_path = question->whole_path;
    }
    settings_.placement = placement_of(window_, dpi_);
    ShowWindow(window_, SW_HIDE);
    save_settings(settings_folder_, settings_);
    DestroyWindow(window_);
}

bool MainWindow::close_library(std::chrono::milliseconds patience) {
    searches_.stop();
    list_->close();
    session_.reset();
    using Clock = std::chrono::steady_clock;
    const Clock::time_point end = Clock::now() + patience;
    const auto left = [end] {
        return std::chrono::duration_cast<std::chrono::milliseconds>(end - Clock::now());
    };
    const bool has_opened_all = shell_.close(left());
    const bool has_asked_all = list_->close_icons(left());
    return worker_.finish(left()) && has_opened_all && has_asked_all;
}

// ---- Searching ----------------------------------------------------------------------------------

void MainWindow::ask() {
    after_answer_ = nullptr;
    trouble_is_old_ = true;
    list_->pointed().question_asked();
    if (const std::optional<Question> question = bar_->question()) {
        searches_.ask(*question, SearchPlan::Time::clock::now());
    }
}

void MainWindow::open_scope(const std::string& scope) {
    choose_scope(settings_, scope);
    trouble_.clear();
    bar_->fill_scopes(settings_);
    const std::wstring title =
        scope.empty() ? L"System Search" : L"System Search - " + app::native_wide(scope);
    SetWindowTextW(window_, title.c_str());
    const std::string cache = settings_folder_ + "/" + cache_file_name(scope);
    session_.reset();  // at most two engines hold memory at any time
    session_ = std::make_unique<IndexSession>(
        scope, cache, written_at(cache),
        [this](ss::Engine engine) { worker_.discard(std::move(engine)); });
    searches_.ask_again(SearchPlan::Time::clock::now());
    tick();
}

void MainWindow::pick_folder() {
    const std::string folder = choose_folder(window_, settings_.scope);
    if (folder.empty()) return;
    open_scope(folder);
    remember_settings();
}

void MainWindow::remember_settings() {
    if (!save_settings(settings_folder_, settings_)) {
        tell("The settings cannot be kept in " + native_path(settings_folder_));
    }
}

void MainWindow::tick() noexcept {
    try {
        if (session_) look();
    } catch (const std::exception&) {
        tell_no_memory();
    }
}

void MainWindow::look() {
    const IndexPhase phase_before = session_->report().phase;
    if (session_->tick(std::time(nullptr))) searches_.index_changed();
    const IndexReport& report = session_->report();
    if (report.phase != phase_before && report.phase == IndexPhase::kReady) {
        measurements_.since_start("index ready");
    }
    // Before the first names there is nothing to search, and nothing better to show either.
    const bool is_under_way =
        report.phase == IndexPhase::kLoading || report.phase == IndexPhase::kReading;
    if (report.entries > 0 || !is_under_way) {
        auto found = searches_.tick(session_->engine(), list_->visible_rows(),
                                    SearchPlan::Time::clock::now());
        if (found) show_answer(std::move(*found));
    }
    show_status();
    set_pace(is_under_way || report.refreshing || searches_.is_waiting());
}

void MainWindow::set_pace(bool needs_beats) {
    needs_beats = needs_beats || searches_.is_running();
    if (needs_beats != beats_) {
        beats_ = needs_beats;
        if (beats_) {
            SetTimer(window_, kHeartbeat, kHeartbeatMilliseconds, nullptr);
        } else {
            KillTimer(window_, kHeartbeat);
        }
    }
    // The system's waits are else as coarse as 16 ms, half of what a key may take.
    if (searches_.is_running() != is_fine_) {
        is_fine_ = searches_.is_running();
        if (is_fine_) {
            static_cast<void>(timeBeginPeriod(1));  // a coarser wait is no error
        } else {
            static_cast<void>(timeEndPeriod(1));
        }
    }
}

DWORD MainWindow::patience() const {
    return searches_.is_running() ? 1 : INFINITE;  // the timer wakes it for all else
}

void MainWindow::show_answer(Found found) {
    if (found.failed) {
        measurements_.forget_keys();
        after_answer_ = nullptr;
        tell(kSearchFailedSentence);
        return;
    }
    const bool is_new = found.is_new;
    answer_ = {found.rows.total(),       found.searched,
               found.milliseconds,       /*sorted=*/false,
               found.phrasing.all_cases, empty_list_hint(found.question, found.phrasing)};
    has_answer_ = true;
    if (is_new && trouble_is_old_) trouble_.clear();
    list_->show(std::move(found));
    if (!is_new) return;
    has_news_ = true;
    UpdateWindow(list_->handle());
    measurements_.list_painted(answer_.searched, answer_.total.matched, answer_.milliseconds);
    if (const auto action = std::exchange(after_answer_, nullptr)) {
        act_on_pointed(action, /*from_box=*/true);
    }
}

void MainWindow::show_status() {
    const IndexReport& report = session_->report();
    const std::string moment =
        report.read_at ? moment_text(*report.read_at, std::time(nullptr)) : "";
    const std::string index =
        index_sentence(report, moment, scope_label(session_->scope()), numbers_);
    answer_.sorted = list_->order().column.has_value();
    std::string results = trouble_;
    if (results.empty() && report.phase == IndexPhase::kFailed) results = index;
    if (results.empty() && has_answer_) results = answer_sentence(answer_, numbers_);
    status_->set_text(StatusBar::kResults, results);
    if (std::exchange(has_news_, false)) status_->announce();
    status_->set_text(StatusBar::kIndex, index == results ? "" : index);
    status_->set_text(StatusBar::kSkipped, skipped_words(report, numbers_));
}

void MainWindow::show_details() {
    const IndexReport& report = session_->report();
    const std::string moment =
        report.read_at ? moment_text(*report.read_at, std::time(nullptr)) : "";
    const std::string text = index_details(report, moment, scope_label(session_->scope()),
                                           native_path(session_->cache_path()), numbers_);
    MessageBoxW(window_, app::to_wide(text).c_str(), L"System Search", MB_OK | MB_ICONINFORMATION);
}

void MainWindow::tell_no_memory() noexcept {
    try {
        tell(kNoMemorySentence);
    } catch (const std::exception&) {
        MessageBeep(MB_ICONERROR);  // not even the sentence fits
    }
}

void MainWindow::tell(const std::string& trouble) {
    if (trouble.empty()) return;
    trouble_ = trouble;
    trouble_is_old_ = false;
    has_news_ = true;
    if (session_) show_status();
}

}  // namespace window
