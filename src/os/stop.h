// os/stop.h: wishes that the process end, kept till the work at hand is whole.
#pragma once

namespace os {

// From now on Ctrl-C, a closed terminal and the system's request to end are only remembered; a
// second one ends the process at once. What the process has ignored since its start it goes on to
// ignore. Writing to a pipe that nobody reads, or beyond the limit of a file's size, fails, and
// ends nothing. Programs that are started have the usual ways.
void deferStops();
bool isStopWanted();

}  // namespace os
