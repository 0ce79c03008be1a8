#include "vimo_util/config/readPiece.h"

#include <algorithm>
#include <climits>
#include <cstring>
#include <exception>

namespace vimo {
namespace util {
namespace config {

namespace {

const int eof = std::char_traits<char>::eof();

// The bytes that a stream buffer holds ready. A copy through sbumpc() alone would
// take much longer.
class Ready : private std::streambuf {
 public:
  static const char* begin(std::streambuf& buffer) { return (buffer.*&Ready::gptr)(); }
  static const char* end(std::streambuf& buffer) { return (buffer.*&Ready::egptr)(); }
  static void skip(std::streambuf& buffer, int count) { (buffer.*&Ready::gbump)(count); }
};

void setBad(std::istream& in) {
  try {
    in.setstate(std::ios::badbit);
  } catch (const std::ios::failure&) {
    // What the buffer threw goes out in its place.
  }
}

// Takes a byte; eof() if there is none. What the buffer throws sets badbit, and
// goes out only where the stream's mask says so, as in the standard's operations.
int take(std::istream& in) {
  try {
    return in.rdbuf()->sbumpc();
  } catch (...) {
    setBad(in);
    // A cancelled thread unwinds by what is no exception; nothing may stop it.
    if (!std::current_exception() || (in.exceptions() & std::ios::badbit)) throw;
  }
  return eof;
}

}  // namespace

void readPiece(std::istream& in, char delimiter, std::string& piece) {
  piece.clear();
  const std::istream::sentry sentry(in, true);
  if (!sentry) return;

  std::streambuf& buffer = *in.rdbuf();
  bool taken = false;
  for (int c = take(in); c != eof; c = take(in)) {
    taken = true;
    if (std::char_traits<char>::to_char_type(c) == delimiter) return;
    piece.push_back(std::char_traits<char>::to_char_type(c));
    const char* const begin = Ready::begin(buffer);
    const char* const end = begin + std::min<std::ptrdiff_t>(Ready::end(buffer) - begin, INT_MAX);
    const void* const found = begin < end ? std::memchr(begin, delimiter, end - begin) : nullptr;
    const char* const stop = found ? static_cast<const char*>(found) : end;
    piece.append(begin, stop);
    Ready::skip(buffer, stop - begin);
  }
  std::ios::iostate state = in.bad() ? std::ios::goodbit : std::ios::eofbit;
  if (!taken) state |= std::ios::failbit;
  in.setstate(state);
}

}  // namespace config
}  // namespace util
}  // namespace vimo
