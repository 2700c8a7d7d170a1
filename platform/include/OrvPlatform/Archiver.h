#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "OrvPlatform/ArchiveValue.h"
#include "OrvPlatform/Export.h"

/// Objects to bytes and back.
///
///   ArchiveValue ──archive──► bytes ──unarchive──► ArchiveValue
///        │                                             ▲
///   records hand over their fields               records are made by name
///   to an ArchiveEncoder                         from an ArchiveDecoder
///
/// A record's fields are stored in one of two forms: one after the other, where the order says which is which, or by
/// key. The bytes are CBOR behind a checksum; docs/formats.md has the layout.
///
/// Bytes are taken for hostile. Whatever they are, `unarchive` makes the whole object or none, does not nest deeper
/// than `kDeepestArchive`, and allocates at most 32 times their length and a few KiB. What objects refer to each other
/// in circles is not archived.
///
/// Thread-safe: every call works on what it is handed.
namespace orv {

enum class ArchiveForm {
  sequential,  ///< fields by their order
  keyed,       ///< fields by their names
};

using ArchiveBytes = std::vector<std::uint8_t>;

/// Arrays, dictionaries and records inside each other; a record by key counts twice.
inline constexpr int kDeepestArchive = 64;
/// Bytes of the longest archive that is made or read.
inline constexpr std::size_t kLongestArchive = std::size_t{1} << 28;

/// Takes the fields of one record.
class ORV_API ArchiveEncoder {
 public:
  virtual ~ArchiveEncoder();
  virtual bool isKeyed() const = 0;
  /// The record's next field. Requires: not keyed.
  virtual void encodeObject(const ArchiveValue& object) = 0;
  /// The field named `key`. Requires: keyed.
  virtual void encodeObject_forKey(const ArchiveValue& object, const std::string& key) = 0;
};

/// Gives the fields of one record.
class ORV_API ArchiveDecoder {
 public:
  virtual ~ArchiveDecoder();
  virtual bool isKeyed() const = 0;
  /// The record's next field; nothing behind the last one, and when keyed.
  virtual std::optional<ArchiveValue> decodeObject() = 0;
  /// The field named `key`; nothing when there is none, and when not keyed.
  virtual std::optional<ArchiveValue> decodeObjectForKey(const std::string& key) = 0;
};

/// Makes records of one class from their fields. Null when they are not such a record's.
using RecordMaker = std::function<std::shared_ptr<ArchiveRecord>(ArchiveDecoder& coder)>;
/// The classes that an archive may hold, by `archiveName`.
using RecordMakers = std::map<std::string, RecordMaker>;

/// The archive of `object` and all that it holds. Empty, with a line in the log, when it nests too deep, would become
/// too long, or memory is short. The same object always gives the same bytes.
ORV_API ArchiveBytes archive(const ArchiveValue& object, ArchiveForm form);

/// The object that was archived. Nothing when the bytes are not an archive from their first to their last, or hold a
/// record that no maker makes; `*problem` (may be null) then says what is wrong in a few words.
ORV_API std::optional<ArchiveValue> unarchive(std::span<const std::uint8_t> bytes, const RecordMakers& makers,
                                              std::string* problem);

/// Archives into a file, which is replaced in one step: it holds the old archive or the new one at any time. False,
/// with `*problem` (may be null) set and the file as before, when that doesn't work.
ORV_API bool archiveToFile(const ArchiveValue& object, ArchiveForm form, const std::string& path, std::string* problem);

/// The object archived in a file; as `unarchive`.
ORV_API std::optional<ArchiveValue> unarchiveFromFile(const std::string& path, const RecordMakers& makers,
                                                      std::string* problem);

/// Where the bytes in front of the object begin in an archive: `front` of `archiveWithFiller`.
inline constexpr std::size_t kArchiveFillerOffset = 17;

/// The same archive with filler that readers step over: exactly `length` bytes long, with the bytes `front` at
/// `kArchiveFillerOffset` in the place of what stood there, and zeros behind the object. Nothing when `length` is
/// shorter than `archiveLength`, or `archive` is none.
ORV_API std::optional<ArchiveBytes> archiveWithFiller(std::span<const std::uint8_t> archive,
                                                      std::span<const std::uint8_t> front, std::size_t length);

/// Least bytes of the archive with `frontLength` bytes of filler in front. Nothing when it is none.
ORV_API std::optional<std::size_t> archiveLength(std::span<const std::uint8_t> archive, std::size_t frontLength);

}  // namespace orv
