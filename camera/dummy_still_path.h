// Where the stored picture lies.
#ifndef TORVIK_CAMERA_DUMMY_STILL_PATH_H
#define TORVIK_CAMERA_DUMMY_STILL_PATH_H

/// Writable, for debuggers.
extern char dummy_jpg_path_name[];

#endif
