#ifndef VIMO_UTIL_FRAME_EXPORT_H
#define VIMO_UTIL_FRAME_EXPORT_H

// Marks what the shared library exports; all else in it is built hidden.
#define VIMO_UTIL_API __attribute__((visibility("default")))

#endif
