/* The header, alone and first, in C and in C++. */
#include "system_search.h"

int main(void) {
    EngineStatus build = {SS_ENGINE_IDLE, 0, 0, 0, 0};
    SystemSearchEngine* engine = ss_create();
    ss_status(engine, &build);
    ss_destroy(engine);
    return build.state == SS_ENGINE_IDLE ? 0 : 1;
}
