/* system-search-window: a window to search in, on top of system_search.dll.
 *
 *   model, which knows no window and is tested without any
 *     arguments, settings      the command line; what is remembered
 *     index_session            the engines: from the cache, read anew, swapped
 *     phrasing, letter_case    a person's text as questions to the library
 *     searches, search_plan    the queries: which, and when
 *     found_rows, word_places  what they have found, as one list
 *     rows, highlight          the answer's rows
 *     sentences                what the status bar says of it all
 *     worker                   destroys what may make the window wait
 *   view
 *     main_window, _actions    puts the parts together; keys and menus
 *     search_bar               the text, the scope, the kind: a Question
 *     result_list, name_cell   the answer
 *   system, which talks to the shell and to the library
 *     library                  loads the DLL that lies beside the program
 *     files, icons, shell_actions, drag_source, folder_picker
 */
#include <windows.h>

#include <commctrl.h>
#include <ole2.h>
#include <shellapi.h>

#include <chrono>

#include "common/absolute_path.hpp"
#include "common/wide_text.hpp"
#include "model/arguments.hpp"
#include "model/paths.hpp"
#include "system/files.hpp"
#include "system/library.hpp"
#include "system/measurements.hpp"
#include "view/main_window.hpp"

namespace window {
namespace {

int fail(const std::string& sentence) {
    MessageBoxW(nullptr, app::to_wide(sentence).c_str(), L"System Search", MB_OK | MB_ICONERROR);
    return 2;
}

Arguments read_arguments() {
    std::vector<std::string> words;
    int count = 0;
    LPWSTR* list = CommandLineToArgvW(GetCommandLineW(), &count);
    for (int i = 1; list && i < count; ++i) words.push_back(app::to_utf8(list[i]).value_or(""));
    LocalFree(static_cast<void*>(list));
    return parse_arguments(words);
}

int show_version() {
    const std::string line = "system-search-window " SYSTEM_SEARCH_VERSION "\r\n";
    DWORD written = 0;
    HANDLE out = GetStdHandle(STD_OUTPUT_HANDLE);
    if (!WriteFile(out, line.data(), static_cast<DWORD>(line.size()), &written, nullptr)) {
        MessageBoxW(nullptr, app::to_wide(line).c_str(), L"System Search", MB_OK);
    }
    return 0;
}

void run_messages(MainWindow& window) {
    for (;;) {
        MSG message;
        while (PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE)) {
            if (message.message == WM_QUIT) return;
            if (window.translate(message)) continue;
            TranslateMessage(&message);
            DispatchMessageW(&message);
        }
        window.tick();
        MsgWaitForMultipleObjectsEx(0, nullptr, window.patience(), QS_ALLINPUT,
                                    MWMO_INPUTAVAILABLE);
    }
}

/* A folder as it was typed, in the library's form; the text itself when the system cannot make one.
 */
std::string full_path(const std::string& typed) {
    return normal_scope(app::absolute_path(typed).value_or(typed));
}

int run() {
    const Arguments arguments = read_arguments();
    if (!arguments.trouble.empty()) return fail(arguments.trouble + "\n\n" + kUsage);
    if (arguments.version) return show_version();
    const std::string trouble = load_library();
    if (!trouble.empty()) return fail(trouble);
    Measurements measurements;
    if (!measurements.open(arguments.measure)) {
        return fail("The file cannot be written: " + arguments.measure);
    }

    const std::string folder =
        arguments.settings.empty() ? default_settings_folder() : full_path(arguments.settings);
    Settings settings = load_settings(folder);
    if (arguments.scope) choose_scope(settings, full_path(*arguments.scope));

    MainWindow window(std::move(settings), folder, measurements);
    if (!window.open()) return fail("The system gives no window.");
    run_messages(window);
    measurements.finish();
    // A drive that does not answer must not keep the process for ever.
    if (!window.close_library(std::chrono::seconds(5))) TerminateProcess(GetCurrentProcess(), 0);
    return 0;
}

}  // namespace
}  // namespace window

int WINAPI wWinMain(HINSTANCE, HINSTANCE, LPWSTR, int) {
    SetProcessDpiAwarenessContext(DPI_AWARENESS_CONTEXT_PER_MONITOR_AWARE_V2);
    const INITCOMMONCONTROLSEX controls{sizeof controls, ICC_WIN95_CLASSES | ICC_STANDARD_CLASSES};
    InitCommonControlsEx(&controls);
    if (FAILED(OleInitialize(nullptr))) return window::fail("The system's parts cannot be used.");
    int status = 2;
    try {
        status = window::run();
    } catch (const std::exception&) {
        status = window::fail(window::kNoMemorySentence);
    }
    OleUninitialize();
    return status;
}
