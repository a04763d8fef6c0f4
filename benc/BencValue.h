// BencValue: one bencoded value, and BencodedDict, the record that commands and
// metadata travel in.
#pragma once

#include <cstddef>
#include <cstdint>
#include <iterator>
#include <span>
#include <string>
#include <string_view>

namespace veskard {

struct BencBytes;
struct BencArray;
struct BencNode;
struct BencKey;
class BencEntries;
struct FormatDump;

/// A tagged value: one 64-bit word and an 8-bit kind.
///
///     word (8 bytes)                             kind (1 byte)
///     integer, sign-extended                     1 Int32, 2 Int64, 254 Bool
///     pointer to the owned bytes, one block      3 String
///     pointer to the owned array, one block      4 List
///     pointer to the root of the owned tree,     5 Dict
///       one block a node, key inside
///     not used                                   0 None, 253 Null
///
/// The null pointer is the empty string, list or dictionary. BencPayload.h lays out
/// the blocks, BencHeap.h allocates them. Elements and entries are accessible
/// through const references only: no part of a tree can be moved out of it, and no tree
/// into a part of itself.
///
/// Owns its payload alone. Moving leaves the source None; copying is deep.
/// Destroying and copying do not recurse, so any depth is safe, and destroying
/// allocates nothing. A value belongs to one thread at a time. Only std::bad_alloc
/// is thrown, with the strong guarantee.
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
  ~BencValue() { DestroyPayload(); }
  BencValue(BencValue&& other) noexcept : payload_(other.payload_), kind_(other.kind_) { other.Forget(); }
  BencValue& operator=(BencValue&& other) noexcept;
  BencValue(const BencValue& other);
  BencValue& operator=(const BencValue& other);

  static BencValue FromInt32(int32_t value) noexcept { return BencValue(Kind::Int32, value); }
  static BencValue FromInt64(int64_t value) noexcept { return BencValue(Kind::Int64, value); }
  static BencValue FromBool(bool value) noexcept { return BencValue(Kind::Bool, value ? 1 : 0); }
  static BencValue FromString(std::string_view bytes);
  static BencValue MakeList() noexcept { return BencValue(Kind::List, 0); }
  static BencValue MakeDict() noexcept { return BencValue(Kind::Dict, 0); }
  static BencValue MakeNull() noexcept { return BencValue(Kind::Null, 0); }

  Kind GetKind() const noexcept { return kind_; }

  // Setters: each destroys the old content first.
  void Reset() noexcept;
  void SetInt32(int32_t value) noexcept { *this = FromInt32(value); }
  void SetInt64(int64_t value) noexcept { *this = FromInt64(value); }

  /// The word of an Int32, Int64 or Bool; 0 for every other kind.
  int64_t Word() const noexcept;

  /// The integer of an Int32 or Int64; 0 for every other kind.
  int64_t AsInt() const noexcept;

  /// The bytes of a String; empty for every other kind.
  std::string_view AsBytes() const noexcept;

  /// The text of a String, converted from UTF-8 (from the system's ANSI code
  /// page where that yields nothing); empty for every other kind. Windows only.
  std::wstring AsWString() const;

  /// The elements of a List in input order; empty for every other kind.
  std::span<const BencValue> Items() const noexcept;

  /// The entries of a Dict in ascending key order; empty for every other kind.
  BencEntries Entries() const noexcept;

  /// The value stored under a key; null when there is none or this is no Dict.
  /// A null key is the empty key. Keys are compared byte by byte, as unsigned
  /// values, up to the first difference or the first NUL: two keys that agree up
  /// to a NUL are the same key.
  const BencValue* Find(const char* key) const noexcept;
  const BencValue* Find(std::string_view key) const noexcept;

  /// The integer stored under a key: AsInt of the value found, 0 without one.
  int64_t FindInt(const char* key) const noexcept;

  /// Adds an entry to a Dict. When the key is there already, the stored value
  /// stays and the offered one is destroyed. Does nothing on other kinds, nor when the
  /// dictionary is offered to itself. A null key is the empty key.
  void Insert(const char* key, BencValue&& value);
  void InsertInt(const char* key, int32_t value);

  /// Moves a value to the end of a List. Does nothing on other kinds, nor when the list
  /// is offered to itself.
  void Append(BencValue&& value);

 private:
  friend class BencTree;
  friend class BencBuilder;
  friend class BencDemolition;

  union Payload {
    int64_t word;
    BencBytes* bytes;
    BencArray* array;
    BencNode* root;
  };

  BencValue(Kind kind, int64_t word) noexcept : payload_{word}, kind_(kind) {}

  bool OwnsPayload() const noexcept {
    return kind_ >= Kind::String && kind_ <= Kind::Dict && payload_.word != 0;
  }
  void DestroyPayload() noexcept {
    if (OwnsPayload()) FreePayload();
  }
  void FreePayload() noexcept;
  void Forget() noexcept {
    payload_.word = 0;
    kind_ = Kind::None;
  }

  Payload payload_{0};
  Kind kind_ = Kind::None;
};

/// What the formatter's conversion "D" prints (util/string/FormatArgs.h): the text dump
/// of a Dict in mode 0 (benc/BencDump.h); no other kind has one.
FormatDump DumpOf(const BencValue* value) noexcept;

/// One entry of a Dict, as iteration shows it.
struct BencEntry {
  std::string_view key;
  const BencValue& value;
};

/// The entries of a Dict, for a range-based loop. Valid until the Dict changes.
class BencEntries {
 public:
  class Iterator {
   public:
    using iterator_category = std::forward_iterator_tag;
    using value_type = BencEntry;
    using difference_type = std::ptrdiff_t;
    using pointer = void;
    using reference = BencEntry;

    Iterator() noexcept = default;
    explicit Iterator(BencNode* node) noexcept : node_(node) {}
    BencEntry operator*() const noexcept;
    Iterator& operator++() noexcept;
    Iterator operator++(int) noexcept;
    bool operator==(const Iterator&) const noexcept = default;

   private:
    BencNode* node_ = nullptr;
  };

  explicit BencEntries(BencNode* first) noexcept : first_(first) {}
  Iterator begin() const noexcept { return Iterator(first_); }
  Iterator end() const noexcept { return Iterator(); }

 private:
  BencNode* first_;
};

/// The root of a command or metadata record.
class BencodedDict : public BencValue {
 public:
  /// An empty dictionary.
  BencodedDict() noexcept : BencValue(MakeDict()) {}
};

}  // namespace veskard
