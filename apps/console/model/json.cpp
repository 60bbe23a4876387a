#include "model/json.hpp"

#include <cstdio>

#include "model/utf8.hpp"

namespace console {
namespace {

void append_escaped(std::string& json, char character) {
    switch (character) {
        case '"':
            json += "\\\"";
            return;
        case '\\':
            json += "\\\\";
            return;
        case '\n':
            json += "\\n";
            return;
        case '\r':
            json += "\\r";
            return;
        case '\t':
            json += "\\t";
            return;
        default:
            break;
    }
    if (static_cast<unsigned char>(character) < 0x20) {
        char escape[8];
        (void)std::snprintf(escape, sizeof escape, "\\u%04x", static_cast<unsigned>(character));
        json += escape;
    } else {
        json += character;
    }
}

std::string milliseconds_json(double milliseconds) {
    char text[32];
    (void)std::snprintf(text, sizeof text, "%.3f", milliseconds);
    return text;
}

const char* bool_json(std::uint32_t value) {
    return value ? "true" : "false";
}

std::string result_json(const Result& result) {
    const ResultMetadata& metadata = result.metadata;
    const bool has_size = metadata.flags & SS_METADATA_SIZE;
    const bool has_time = metadata.flags & SS_METADATA_MODIFIED;
    return "{\"path\":" + json_string(result.path) +
           ",\"kind\":" + (result.kind == SS_KIND_FOLDER ? "\"folder\"" : "\"file\"") +
           ",\"size\":" + (has_size ? std::to_string(metadata.size) : "null") +
           ",\"modified\":" + (has_time ? std::to_string(metadata.modified) : "null") + '}';
}

const char* state_json(std::uint32_t state) {
    switch (state) {
        case SS_ENGINE_IDLE:
            return "\"idle\"";
        case SS_ENGINE_RUNNING:
            return "\"running\"";
        case SS_ENGINE_READY:
            return "\"ready\"";
        case SS_ENGINE_CANCELLED:
            return "\"cancelled\"";
        default:
            return "\"failed\"";
    }
}

}  // namespace

std::string json_string(std::string_view text) {
    std::string json = "\"";
    while (!text.empty()) {
        // Grows the character until it is well formed: no character is longer than four bytes.
        std::size_t length = 1;
        while (length <= 4 && length <= text.size() && !is_valid_utf8(text.substr(0, length))) {
            ++length;
        }
        if (length > 4 || length > text.size()) {
            json += "\xEF\xBF\xBD";
            length = 1;
        } else if (length == 1) {
            append_escaped(json, text[0]);
        } else {
            json += text.substr(0, length);
        }
        text.remove_prefix(length);
    }
    return json + '"';
}

std::string answer_json(const Answer& answer) {
    const QueryStatus& status = answer.status;
    std::string json =
        "{\"text\":" + json_string(answer.text) + ",\"matched\":" + std::to_string(status.matched) +
        ",\"count\":" + std::to_string(status.count) +
        ",\"index_entries\":" + std::to_string(status.index_entries) +
        ",\"index_incomplete\":" + bool_json(status.index_incomplete) +
        ",\"milliseconds\":" + milliseconds_json(answer.milliseconds) + ",\"results\":[";
    for (std::size_t i = 0; i < answer.results.size(); ++i) {
        if (i != 0) json += ',';
        json += result_json(answer.results[i]);
    }
    return json + "]}\n";
}

std::string build_json(const EngineStatus& status, double milliseconds, std::string_view error) {
    return std::string("{\"state\":") + state_json(status.state) +
           ",\"entries\":" + std::to_string(status.entries) +
           ",\"skipped\":" + std::to_string(status.skipped) +
           ",\"limited\":" + bool_json(status.limited) +
           ",\"from_cache\":" + bool_json(status.from_cache) +
           ",\"milliseconds\":" + milliseconds_json(milliseconds) +
           ",\"error\":" + json_string(error) + "}\n";
}

}  // namespace console
