// What Ctrl-C does.
#pragma once

namespace kxcontour {

/// Makes SIGINT, SIGHUP, SIGQUIT, SIGTERM and SIGXCPU end the process at once, with a word on
/// stderr and 128 plus the signal as exit code (130 for Ctrl-C), whatever it is doing and on
/// however many threads. One that is ignored already stays so. An abort removes the unfinished
/// files, too.
void HandleInterrupts();

} // namespace kxcontour
