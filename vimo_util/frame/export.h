// SPDX-License-Identifier: MIT
#ifndef VIMO_UTIL_FRAME_EXPORT_H
#define VIMO_UTIL_FRAME_EXPORT_H

/// Marks what the shared library exports. All else in it is hidden.
#define VIMO_UTIL_API __attribute__((visibility("default")))

#endif
