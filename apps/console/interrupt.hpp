/* Ctrl+C, Ctrl+Break and the closing of the console window. The first one asks the program to stop
   at its next look; a second one, should it not get there, ends the process at once, with the same
   exit status. */
#pragma once

namespace console {

/* To be called once, before any other function here. */
void watch_for_interrupt();

bool is_interrupted();

/* Says that the program was interrupted, for who learns it before the system's own notice comes. */
void note_interrupt();

/* To be called last, before the program ends: an interrupt is told on a thread of its own, and a
   process that ends while one of its threads does may lose its exit status, as Wine has shown.
   Waits for that thread, and not for long should it never come. */
void let_handler_end();

/* Waits for the time to pass or for an interrupt, whichever is first. Returns is_interrupted(). */
bool wait_or_interrupt(unsigned milliseconds);

/* Waits for a Windows object to be signalled or for an interrupt. Returns is_interrupted(). */
bool wait_for_or_interrupt(void* object);

}  // namespace console
