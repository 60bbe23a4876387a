/* The layout of the public records, for comparison with what other languages make of them. */
#include <stdio.h>

#include "system_search.h"

#define SIZE(record) printf("%s %u\n", #record, (unsigned)sizeof(record))
#define FIELD(record, field)                                                    \
    printf("%s.%s %u %u\n", #record, #field, (unsigned)offsetof(record, field), \
           (unsigned)sizeof(((record*)0)->field))

int main(void) {
    SIZE(EngineStatus);
    FIELD(EngineStatus, state);
    FIELD(EngineStatus, entries);
    FIELD(EngineStatus, skipped);
    FIELD(EngineStatus, limited);
    FIELD(EngineStatus, from_cache);
    SIZE(QueryStatus);
    FIELD(QueryStatus, state);
    FIELD(QueryStatus, matched);
    FIELD(QueryStatus, count);
    FIELD(QueryStatus, index_entries);
    FIELD(QueryStatus, index_incomplete);
    SIZE(ResultMetadata);
    FIELD(ResultMetadata, size);
    FIELD(ResultMetadata, modified);
    FIELD(ResultMetadata, flags);
    FIELD(ResultMetadata, reserved);
    return 0;
}
