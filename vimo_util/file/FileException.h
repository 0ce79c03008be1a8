// SPDX-License-Identifier: MIT
#ifndef VIMO_UTIL_FILE_FILEEXCEPTION_H
#define VIMO_UTIL_FILE_FILEEXCEPTION_H

#include <exception>
#include <string>
#include <utility>

#include "vimo_util/frame/export.h"

namespace vimo {
namespace util {

/// The exception of File. It holds one text, which File documents, and no error number. Making or
/// copying one allocates, so it may throw std::bad_alloc.
class VIMO_UTIL_API FileException : public std::exception {
 public:
  /// `text` is what what() returns.
  explicit FileException(std::string text) : message(std::move(text)) {}

  /// Valid as long as the exception lives.
  const char* what() const noexcept override { return message.c_str(); }

 private:
  std::string message;
};

}  // namespace util
}  // namespace vimo

#endif
