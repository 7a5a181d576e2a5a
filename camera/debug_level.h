// The log verbosity, kept over restarts by marker files.
#ifndef TORVIK_CAMERA_DEBUG_LEVEL_H
#define TORVIK_CAMERA_DEBUG_LEVEL_H

/// Sets the verbosity from the highest marker file there is, 1 without one.
/// Always true.
bool LoadDebugLevel();
/// Sets the verbosity and leaves one marker file for it. False, with nothing
/// changed, for a level outside 1 to 5.
bool SetDebugLevel(int level);

#endif
