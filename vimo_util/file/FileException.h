#ifndef VIMO_UTIL_FILE_FILEEXCEPTION_H
#define VIMO_UTIL_FILE_FILEEXCEPTION_H

#include <exception>
#include <string>
#include <utility>

#include "vimo_util/frame/export.h"

namespace vimo {
namespace util {

// What a File could not do, as one text; File tells the texts. Nothing else is
// kept: no error number, and a path only where the text holds it. To make or to
// copy one takes memory, and throws std::bad_alloc where there is none.
class VIMO_UTIL_API FileException : public std::exception {
 public:
  // `message` is what what() will say.
  explicit FileException(std::string message) : message(std::move(message)) {}

  // Valid as long as the exception lives.
  const char* what() const noexcept override { return message.c_str(); }

 private:
  std::string message;
};

}  // namespace util
}  // namespace vimo

#endif
