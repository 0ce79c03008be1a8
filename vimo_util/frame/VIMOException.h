#ifndef VIMO_UTIL_FRAME_VIMOEXCEPTION_H
#define VIMO_UTIL_FRAME_VIMOEXCEPTION_H

#include <exception>
#include <string>

#include "vimo_util/frame/export.h"

// Tells by a number why the configuration store gave up.
//
//   0x1080    getProperty_   the key has no value, or an empty one
//   0x1081    getInt_        the same
//   0x1082    getHEX_        the same
//   0x1083    isOn_          the same
//   0x1E0001  load           the file cannot be opened for reading
//   0x1E0002  load           any other failure
class VIMO_UTIL_API VIMOException : public std::exception {
 public:
  // Takes any code, so that a client may throw its own.
  explicit VIMOException(unsigned int code) : code(code), message("VIMOException") {}
  ~VIMOException() noexcept override = default;

  // "VIMOException" for every code; good for as long as the object lives.
  const char* what() const noexcept override { return message.c_str(); }

  unsigned int code;  // one of the table above where the library threw it

 private:
  std::string message;
};

#endif
