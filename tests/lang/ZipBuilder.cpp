#include "tests/lang/ZipBuilder.h"

#include <zlib.h>

namespace veskard {
namespace {

void Put16(std::string& out, uint32_t value) {
  out.push_back(static_cast<char>(value & 0xFF));
  out.push_back(static_cast<char>(value >> 8 & 0xFF));
}

void Put32(std::string& out, uint32_t value) {
  Put16(out, value & 0xFFFF);
  Put16(out, value >> 16);
}

uint32_t Size(const std::string& bytes) {
  return static_cast<uint32_t>(bytes.size());
}

uint32_t Checksum(const std::string& bytes) {
  return static_cast<uint32_t>(crc32(0, reinterpret_cast<const Bytef*>(bytes.data()), Size(bytes)));
}

std::string PackedBytes(const ZipMember& member) {
  if (member.packed) return *member.packed;
  return member.deflated ? Deflate(member.contents) : member.contents;
}

/// What a member's two headers have in common: version to the name's length.
void PutCommonFields(std::string& out, const ZipMember& member) {
  Put16(out, 20);
  Put16(out, member.flags);
  Put16(out, member.claimedMethod.value_or(member.deflated ? uint16_t{8} : uint16_t{0}));
  Put32(out, 0);
  Put32(out, member.claimedCrc.value_or(Checksum(member.contents)));
  Put32(out, Size(PackedBytes(member)));
  Put32(out, member.claimedSize.value_or(Size(member.contents)));
  Put16(out, Size(member.name));
}

void PutLocalHeader(std::string& out, const ZipMember& member) {
  Put32(out, member.breaksLocalHeader ? 0 : 0x04034b50);
  PutCommonFields(out, member);
  Put16(out, 0);
  out += member.name;
}

void PutDirectoryEntry(std::string& out, const ZipMember& member, uint32_t offset) {
  Put32(out, 0x02014b50);
  Put16(out, 20);
  PutCommonFields(out, member);
  Put16(out, Size(member.extraField));
  Put16(out, 0);  // comment
  Put16(out, 0);  // disk
  Put16(out, 0);  // internal attributes
  Put32(out, 0);  // external attributes
  Put32(out, offset);
  out += member.name;
  out += member.extraField;
}

void PutEndRecord(std::string& out, size_t count, uint32_t directorySize, uint32_t directoryOffset) {
  Put32(out, 0x06054b50);
  Put32(out, 0);  // disks
  Put16(out, static_cast<uint32_t>(count));
  Put16(out, static_cast<uint32_t>(count));
  Put32(out, directorySize);
  Put32(out, directoryOffset);
  Put16(out, 0);  // comment
}

}  // namespace

std::string Deflate(const std::string& bytes) {
  std::string packed(compressBound(Size(bytes)) + 64, '\0');
  z_stream stream{};
  deflateInit2(&stream, Z_BEST_COMPRESSION, Z_DEFLATED, -MAX_WBITS, 8, Z_DEFAULT_STRATEGY);
  std::string input = bytes;
  stream.next_in = reinterpret_cast<Bytef*>(input.data());
  stream.avail_in = Size(bytes);
  stream.next_out = reinterpret_cast<Bytef*>(packed.data());
  stream.avail_out = Size(packed);
  deflate(&stream, Z_FINISH);
  packed.resize(stream.total_out);
  deflateEnd(&stream);
  return packed;
}

std::string BuildZip(const std::vector<ZipMember>& members) {
  std::string archive;
  std::string directory;
  for (const ZipMember& member : members) {
    PutDirectoryEntry(directory, member, Size(archive));
    PutLocalHeader(archive, member);
    archive += PackedBytes(member);
  }
  const uint32_t directoryOffset = Size(archive);
  archive += directory;
  PutEndRecord(archive, members.size(), Size(directory), directoryOffset);
  return archive;
}

}  // namespace veskard
