#ifndef VIMO_UTIL_CONFIG_READPIECE_H
#define VIMO_UTIL_CONFIG_READPIECE_H

#include <istream>
#include <string>

namespace vimo {
namespace util {
namespace config {

// As std::getline(in, piece, delimiter), but a lack of memory for `piece` is
// thrown and does not touch the stream's state, and a stream that has failed
// already leaves `piece` empty.
void readPiece(std::istream& in, char delimiter, std::string& piece);

}  // namespace config
}  // namespace util
}  // namespace vimo

#endif
