/* Ctrl+C, Ctrl+Break and the closing of the console window. The first one asks the program to stop
   at its next look; a second one, should it not get there, ends the process at once. */
#pragma once

namespace console {

/* To be called once, by the main thread, before any other function here. */
void watch_for_interrupt();

bool is_interrupted();

/* Waits for the time to pass or for an interrupt, whichever is first. Returns is_interrupted(). */
bool wait_or_interrupt(unsigned milliseconds);

/* While one lives, an interrupt also breaks off the main thread's blocking read. */
class InterruptibleRead {
public:
    InterruptibleRead();
    ~InterruptibleRead();
    InterruptibleRead(const InterruptibleRead&) = delete;
    InterruptibleRead& operator=(const InterruptibleRead&) = delete;
};

}  // namespace console
