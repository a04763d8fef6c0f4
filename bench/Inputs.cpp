#include "bench/Inputs.h"

#include <cstdint>

#include "benc/BencWriter.h"
#include "util/string/strfmt.h"

namespace veskard::bench {
namespace {

// A fixed sequence of numbers (a linear congruential generator).
class Numbers {
 public:
  uint32_t Below(uint32_t limit) {
    state_ = state_ * 6364136223846793005u + 1442695040888963407u;
    return static_cast<uint32_t>(state_ >> 33) % limit;
  }

 private:
  uint64_t state_ = 2026;
};

std::string Name(Numbers& numbers, size_t shortest, uint32_t spread) {
  std::string name;
  for (size_t left = shortest + numbers.Below(spread); left > 0; --left) {
    name += static_cast<char>('a' + numbers.Below(26));
  }
  return name;
}

std::string Written(const BencValue& value) {
  ByteBuilder out;
  WriteBencoded(out, value);
  return std::string(out.View());
}

}  // namespace

std::string ManySmallValues() {
  constexpr int kFiles = 26000;
  Numbers numbers;
  BencValue files = BencValue::MakeList();
  for (int i = 0; i < kFiles; ++i) {
    BencValue path = BencValue::MakeList();
    path.Append(BencValue::FromString(Name(numbers, 4, 16)));
    path.Append(BencValue::FromString(Name(numbers, 4, 24)));
    path.Append(BencValue::FromString(FormatString("%s-%05d.jpg", Name(numbers, 6, 24), i)));
    BencValue file = BencValue::MakeDict();
    file.Insert("length", BencValue::FromInt64(int64_t{numbers.Below(2000000000)} * 3));
    file.Insert("mtime", BencValue::FromInt64(1500000000 + numbers.Below(300000000)));
    file.Insert("path", std::move(path));
    files.Append(std::move(file));
  }
  BencValue info = BencValue::MakeDict();
  info.Insert("files", std::move(files));
  info.Insert("name", BencValue::FromString("Holiday pictures"));
  info.InsertInt("piece length", 1 << 20);
  BencValue root = BencValue::MakeDict();
  root.InsertInt("creation date", 1600000000);
  root.Insert("info", std::move(info));
  return Written(root);
}

std::string FewHugeStrings() {
  BencValue root = BencValue::MakeDict();
  for (const char* key : {"a", "b", "pieces", "z"}) {
    root.Insert(key, BencValue::FromString(std::string(3 << 20, key[0])));
  }
  return Written(root);
}

std::string FolderRecord() {
  BencValue root = BencValue::MakeDict();
  root.InsertInt("type", 2);
  root.InsertInt("mode", 1);
  root.InsertInt("disable_remove_from_all_devices", 0);
  root.Insert("owner", BencValue::FromString("S-1-5-21-1004336348-1177238915-682003330-512"));
  return Written(root);
}

std::string PlaceholderMark() {
  BencValue root = BencValue::MakeDict();
  root.InsertInt("vlk_status", 35);
  root.InsertInt("vlk_type", 1);
  return Written(root);
}

std::string CommandMessage() {
  BencValue files = BencValue::MakeList();
  for (int i = 0; i < 12; ++i) {
    files.Append(
        BencValue::FromString(FormatString("C:\\Users\\Ann\\Documents\\Shared\\picture %d.jpg.ghpl", i)));
  }
  BencValue root = BencValue::MakeDict();
  root.InsertInt("action", 3);
  root.InsertInt("last", 1);
  root.Insert("path", BencValue::FromString("C:\\Users\\Ann\\Documents\\Shared"));
  root.Insert("files", std::move(files));
  return Written(root);
}

}  // namespace veskard::bench
