// What screen readers are told: counts the announcements of programs' status bars.
#pragma once

/// Starts to count; the number of announcements since then.
void listen_to_announcements();
int heard_announcements();
