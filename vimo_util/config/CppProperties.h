// SPDX-License-Identifier: MIT
#ifndef VIMO_UTIL_CONFIG_CPPPROPERTIES_H
#define VIMO_UTIL_CONFIG_CPPPROPERTIES_H

#include <cstdint>
#include <istream>
#include <map>
#include <ostream>
#include <string>
#include <vector>

#include "vimo_util/frame/VIMOException.h"
#include "vimo_util/frame/export.h"

namespace vimo {
namespace util {
namespace config {

/// A configuration: string keys, each with one string value. It has a text form for people and
/// a binary form that keeps every byte.
///
///     CppProperties settings;
///     settings.load("/etc/pump.conf");
///     const std::int64_t limit = settings.getInt("limit");  // 0 if there is none
///
/// - Strings: any bytes, of any length. The empty key is a key.
/// - Order: keys are sorted by their bytes.
/// - Lookups: an empty value counts as no value. A lookup without an underscore then returns a
///   default. One with an underscore throws VIMOException.
/// - Threads: lookups and getKeys() may run at the same time while no thread changes the
///   object. For any other use by several threads the caller must hold a lock.
/// - Errors: standard exceptions pass through, but only VIMOException leaves a lookup with an
///   underscore and load() of a path: any other exception goes to the unexpected-exception
///   handler, which by default ends the process. A failed stream shows it in its state, and
///   throws if its exceptions mask asks for it.
class VIMO_UTIL_API CppProperties {
 public:
  /// With `keepInlineHash`, read() takes a `#` after the first column of a line as data.
  /// Without it, a comment starts there.
  explicit CppProperties(bool keepInlineHash = false);

  /// Writes nothing, whatever isModified() says.
  virtual ~CppProperties();

  /// The value of `key`, or "".
  std::string getProperty(const std::string& key);

  /// Whether `key` has a value that is not empty.
  bool exist(const std::string& key);

  /// @name Numbers
  /// The value as a decimal or hexadecimal number, or 0. They read as strtoll() does: white
  /// space, a sign and, for getHEX(), "0x" may come first; the rest after the number is ignored;
  /// text without a number is 0; a number out of range becomes the nearest 64-bit number.
  /// @{
  std::int64_t getInt(const std::string& key);
  std::int64_t getHEX(const std::string& key);
  /// @}

  /// Whether the value is exactly "on".
  bool isOn(const std::string& key);

  /// @name Strict lookups
  /// As the lookups above, but they throw VIMOException with the codes 0x1080 to 0x1083 if
  /// exist(key) is false.
  /// @{
  std::string getProperty_(const std::string& key);
  std::int64_t getInt_(const std::string& key);
  std::int64_t getHEX_(const std::string& key);
  bool isOn_(const std::string& key);
  /// @}

  /// Stores `value` under `key`. Sets the flag isModified() if the value differs from the
  /// stored one, where a missing key counts as "". On std::bad_alloc nothing changes.
  void setProperty(const std::string& key, const std::string& value);

  /// Appends every key to `keys`, in order, also those with an empty value.
  void getKeys(std::vector<std::string>& keys);

  /// Removes all entries and sets the flag isModified().
  void clear();

  /// @name The flag
  /// Whether the contents have changed since the object was made or setModified(false) was
  /// called. Reading and loading count as a change, writing and saving do not.
  /// @{
  bool isModified();
  void setModified(const bool& value);
  /// @}

  /// @name The text form
  /// Lines of `key=value`, divided at the first `=`. Spaces around key and value are dropped.
  /// A line that starts with `#` or has no `=` is ignored. If a key occurs twice, the later
  /// line counts. Nothing is escaped: a newline, a space at either end, a `#` that starts a
  /// comment, or a `=` in a key is not read back as it was written.
  /// @{

  /// Replaces all entries by those of the text on `in`, from its position to its end. `in` is
  /// then in a failed state. If `in` fails earlier, or memory for a line runs out, which sets
  /// badbit, the entries read so far stay.
  void read(std::istream& in);

  /// Writes a line for each entry, and flushes `out` after each.
  void write(std::ostream& out);

  /// As read(), from a file. Throws VIMOException: 0x1E0001 if the file cannot be opened, and
  /// nothing changes; 0x1E0002 if anything else fails, and the entries read so far stay. The
  /// thread may be cancelled in it. If that happens while the file is being opened, its descriptor
  /// is lost.
  void load(const std::string& path);
  /// @}

  /// @name The binary form
  /// For each entry the key, then the value: 4 bytes of length in the machine's byte order, and
  /// the bytes.
  /// @{

  /// Writes all entries, without a flush.
  void save(std::ostream& out);

  /// Replaces all entries by those on `in`, from its position to its end. `in` is then in a
  /// failed state. An entry that is cut short is not stored. Those before it stay, also when
  /// memory runs out. A wrong length costs no memory: only bytes that `in` delivers are stored.
  void load(std::istream& in);

  /// Writes one string. For a string of 4 GiB or more it writes nothing and sets failbit.
  void put(std::ostream& out, const std::string& value);

  /// Reads one string into `value`, and replaces what it held. If `in` fails, `value` holds only
  /// bytes that `in` delivered.
  void get(std::istream& in, std::string& value);
  /// @}

 private:
  std::map<std::string, std::string> entries;
  bool keepInlineHash;
  bool trimOnRead;
  bool modified;
};

}  // namespace config
}  // namespace util
}  // namespace vimo

#endif
