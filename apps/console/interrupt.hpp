/* Ctrl+C, Ctrl+Break and the closing of the console window. The first one asks the program to stop
   at its next look; a second one, should it not get there, ends the process at once. */
#pragma once

namespace console {

/* To be called once, before any other function here. */
void watch_for_interrupt();

bool is_interrupted();

/* Waits for the time to pass or for an interrupt, whichever is first. Returns is_interrupted(). */
bool wait_or_interrupt(unsigned milliseconds);

/* Waits for a Windows object to be signalled or for an interrupt. Returns is_interrupted(). */
bool wait_for_or_interrupt(void* object);

}  // namespace console
