/// @file
/// Marks what may leave the shared library. Everything is compiled with hidden
/// visibility; the complete list of exported names is cmake/exports.map.
#ifndef TORVIK_API_CAM_EXPORT_H
#define TORVIK_API_CAM_EXPORT_H

/// Visible outside the library.
#define CAM_API __attribute__((visibility("default")))

#endif
