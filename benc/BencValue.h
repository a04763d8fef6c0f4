// BencValue: one bencoded value, and BencodedDict, the record that commands and
// metadata travel in.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace veskard {

class BencValue;

/// Order of dictionary keys: bytes as unsigned values up to the first difference
/// or the first NUL, so two keys that agree up to a NUL are the same key.
struct BencKeyLess {
  using is_transparent = void;
  bool operator()(std::string_view left, std::string_view right) const noexcept;
};

using BencString = std::string;
using BencList = std::vector<BencValue>;
using BencMap = std::map<std::string, BencValue, BencKeyLess>;

/// A tagged value: one 64-bit word and an 8-bit kind.
///
///     word (8 bytes)                         kind (1 byte)
///     integer, sign-extended                 1 Int32, 2 Int64, 254 Bool
///     pointer to an owned heap object        3 String, 4 List, 5 Dict
///     not used                               0 None, 253 Null
///
/// Owns its payload alone. Moving leaves the source None; copying is deep.
/// Destroying and copying do not recurse, so any depth is safe. A value belongs
/// to one thread at a time. Only std::bad_alloc is thrown, and then the value is
/// as it was.
class BencValue {
 public:
  enum class Kind : uint8_t {
    None = 0,
    Int32 = 1,
    Int64 = 2,
    String = 3,
    List = 4,
    Dict = 5,
    Null = 253,
    Bool = 254,
  };

  BencValue() noexcept = default;
  ~BencValue() { Reset(); }
  BencValue(BencValue&& other) noexcept;
  BencValue& operator=(BencValue&& other) noexcept;
  BencValue(const BencValue& other);
  BencValue& operator=(const BencValue& other);

  static BencValue FromInt32(int32_t value) noexcept;
  static BencValue FromInt64(int64_t value) noexcept;
  static BencValue FromBool(bool value) noexcept;
  static BencValue FromString(std::string_view bytes);
  static BencValue MakeList();
  static BencValue MakeDict();
  static BencValue MakeNull() noexcept;

  Kind GetKind() const noexcept { return kind_; }

  // Setters: each destroys the old content first.
  void Reset() noexcept;
  void SetInt32(int32_t value) noexcept;
  void SetInt64(int64_t value) noexcept;

  /// The word of an Int32, Int64 or Bool; 0 for every other kind.
  int64_t Word() const noexcept;

  /// The integer of an Int32 or Int64; 0 for every other kind.
  int64_t AsInt() const noexcept;

  /// The bytes of a String; empty for every other kind.
  std::string_view AsBytes() const noexcept;

  /// The text of a String, converted from UTF-8 (from the system's ANSI code
  /// page where that yields nothing); empty for every other kind. Windows only.
  std::wstring AsWString() const;

  /// The payloads themselves; null when the value is of another kind.
  const BencList* AsList() const noexcept;
  const BencMap* AsDict() const noexcept;
  BencList* AsList() noexcept;
  BencMap* AsDict() noexcept;

  /// The value stored under a key; null when there is none or this is no Dict.
  /// A null key is the empty key.
  const BencValue* Find(const char* key) const noexcept;
  const BencValue* Find(std::string_view key) const noexcept;

  /// The integer stored under a key: AsInt of the value found, 0 without one.
  int64_t FindInt(const char* key) const noexcept;

  /// Adds an entry to a Dict. When the key is there already, the stored value
  /// stays and the offered one is destroyed. Does nothing on other kinds.
  void Insert(const char* key, BencValue&& value);
  void InsertInt(const char* key, int32_t value);

  /// Moves a value to the end of a List. Does nothing on other kinds.
  void Append(BencValue&& value);

 private:
  int64_t word_ = 0;
  Kind kind_ = Kind::None;
};

/// The root of a command or metadata record.
class BencodedDict : public BencValue {
 public:
  /// An empty dictionary.
  BencodedDict() : BencValue(MakeDict()) {}
};

}  // namespace veskard
