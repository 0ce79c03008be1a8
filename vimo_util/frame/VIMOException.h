// SPDX-License-Identifier: MIT
#ifndef VIMO_UTIL_FRAME_VIMOEXCEPTION_H
#define VIMO_UTIL_FRAME_VIMOEXCEPTION_H

#include <exception>
#include <string>

#include "vimo_util/frame/export.h"

/// The exception of vimo::util::config::CppProperties. A number tells the reason.
///
/// | code     | thrown by    | reason                                |
/// |----------|--------------|---------------------------------------|
/// | 0x1080   | getProperty_ | the key has no value, or an empty one |
/// | 0x1081   | getInt_      | the same                              |
/// | 0x1082   | getHEX_      | the same                              |
/// | 0x1083   | isOn_        | the same                              |
/// | 0x1E0001 | load         | the file cannot be opened for reading |
/// | 0x1E0002 | load         | any other failure                     |
class VIMO_UTIL_API VIMOException : public std::exception {
 public:
  /// Takes any number, so that a client may throw its own.
  explicit VIMOException(unsigned int number) : code(number), message("VIMOException") {}
  ~VIMOException() noexcept override = default;

  /// "VIMOException" for every code. Valid as long as the exception lives.
  const char* what() const noexcept override { return message.c_str(); }

  unsigned int code;  ///< the reason, see the table

 private:
  std::string message;
};

#endif
