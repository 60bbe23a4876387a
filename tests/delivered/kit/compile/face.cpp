// The C++ face, alone and first: an index, a search and a listing.
#include "system_search.hpp"

int main() {
    ss::Engine engine = ss::Engine::create();
    if (!engine || !engine.start("C:/Windows")) return 1;
    ss::Query query = engine.search("notepad", {ss::Kind::kFile});
    while (query.state() == ss::QueryState::kRunning) {
    }
    std::size_t characters = 0;
    for (const ss::Result& result : query.results()) characters += result.path.size();
    engine.cancel();
    ss::Query listing = ss::list_folder("C:/");
    return characters > 0 && listing ? 0 : 1;
}
