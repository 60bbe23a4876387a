#include <stdio.h>

#include "guide.h"

/* "3 found", or "The first 1000 of 48213 found", and what they were searched from. */
void describe_outcome(const QueryStatus* outcome, char* sentence, size_t size) {
    char rest[64] = "";
    if (outcome->index_incomplete) {
        snprintf(rest, sizeof rest, ", in the %u names read so far", outcome->index_entries);
    }
    if (outcome->matched > outcome->count) {
        snprintf(sentence, size, "The first %u of %u found%s. Type more to narrow them down.",
                 outcome->count, outcome->matched, rest);
    } else {
        snprintf(sentence, size, "%u found%s", outcome->matched, rest);
    }
}
