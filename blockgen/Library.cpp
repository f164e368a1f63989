#include "blockgen/Library.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <stdexcept>
#include <unordered_map>
#include <unordered_set>

#include "blockgen/Emitter.h"
#include "blocks/Formats.h"

namespace vx::blockgen {

namespace {

constexpr const char* kNotice = "// Made by blockgen from guest code that a run has discovered.\n";

// FNV-1a over the words' bytes.
u64 HashOf(const Words& words) {
  u64 hash = 0xCBF29CE484222325;
  for (const u32 word : words) {
    for (u32 shift = 0; shift < 32; shift += 8) {
      hash = (hash ^ (word >> shift & 0xFF)) * 0x100000001B3;
    }
  }
  return hash;
}

std::string NameOf(const Words& words) {
  char name[24];
  std::snprintf(name, sizeof(name), "Block%016llX", static_cast<unsigned long long>(HashOf(words)));
  return name;
}

u32 UnitOf(const SFunction& function, u32 units) {
  return static_cast<u32>((HashOf(*function.words) >> 32) % units);
}

u64 KeyOf(const Words& words) { return u64{words[1]} << 32 | words[0]; }

bool IsBefore(const Words* a, const Words* b) {
  const u32 bucketA = BlockBucketOf(a->front()), bucketB = BlockBucketOf(b->front());
  if (bucketA != bucketB) return bucketA < bucketB;
  if (KeyOf(*a) != KeyOf(*b)) return KeyOf(*a) < KeyOf(*b);
  if (a->size() != b->size()) return a->size() > b->size();
  return *a < *b;
}

template <typename T>
void Put(std::vector<u8>& image, u64 at, const T& value) {
  std::memcpy(image.data() + at, &value, sizeof(T));
}

}  // namespace

SLibrary BuildLibrary(const std::set<Words>& blocks) {
  std::vector<const Words*> order;
  for (const Words& words : blocks) order.push_back(&words);
  std::sort(order.begin(), order.end(), IsBefore);

  SLibrary library;
  std::unordered_map<std::string, u32> functionOf;  // by body
  std::unordered_set<std::string> names;
  for (const Words* words : order) {
    std::string body = EmitBody(*words);
    const u32 next = static_cast<u32>(library.functions.size());
    const auto [place, bNew] = functionOf.try_emplace(body, next);
    if (bNew) {
      library.functions.push_back({NameOf(*words), std::move(body), words});
      if (!names.insert(library.functions.back().name).second) {
        throw std::runtime_error("two blocks have the name " + library.functions.back().name);
      }
    }
    library.rows.push_back({words, place->second});
  }
  return library;
}

std::vector<u8> TableImage(const SLibrary& library) {
  u64 entryBytes = library.rows.size() * sizeof(SBlockEntry);
  u64 wordBytes = 0;
  for (const SRow& row : library.rows) wordBytes += row.words->size() * sizeof(u32);
  std::vector<u8> image(kBlockTableHeadBytes + entryBytes + wordBytes, 0);
  Put(image, 0, kBlockTableSignature);

  u64 entryAt = kBlockTableHeadBytes;
  u64 wordsAt = kBlockTableHeadBytes + entryBytes;
  for (u32 i = 0; i < library.rows.size(); ++i) {
    const Words& words = *library.rows[i].words;
    const u64 bucketAt = sizeof(u64) + BlockBucketOf(words[0]) * sizeof(SBlockBucket);
    SBlockBucket bucket;
    std::memcpy(&bucket, image.data() + bucketAt, sizeof(bucket));
    if (bucket.count == 0) bucket.entries = entryAt;
    ++bucket.count;
    Put(image, bucketAt, bucket);
    Put(image, entryAt, SBlockEntry{static_cast<u32>(words.size()), i, wordsAt});
    std::memcpy(image.data() + wordsAt, words.data(), words.size() * sizeof(u32));
    entryAt += sizeof(SBlockEntry);
    wordsAt += words.size() * sizeof(u32);
  }
  return image;
}

std::string UnitSource(const SLibrary& library, u32 unit, u32 units) {
  std::string text = kNotice;
  text += "#include \"blocks/NativeOps.h\"\n\nnamespace vx::native_blocks {\n\n";
  for (const SFunction& function : library.functions) {
    if (UnitOf(function, units) != unit) continue;
    text += EmitListing(*function.words) + "[[gnu::flatten]] u32 " + function.name +
            "(CVXMachine* m, [[maybe_unused]] u32 pc) {\n" + function.body + "}\n\n";
  }
  return text + "}  // namespace vx::native_blocks\n";
}

std::string TableSource(const SLibrary& library) {
  std::string text = kNotice;
  text += R"(#include "blocks/BlockTable.h"

asm(".pushsection .rodata,\"a\"\n"
    ".balign 16\n"
    ".globl vx_block_table_image\n"
    ".hidden vx_block_table_image\n"
    "vx_block_table_image:\n"
    ".incbin \"" VX_BLOCK_TABLE_IMAGE "\"\n"
    ".popsection\n");

)";
  text += "extern \"C\" [[gnu::visibility(\"hidden\")]] const vx::u8 vx_block_table_image[];\n\n";
  text += "namespace vx {\n\nnamespace native_blocks {\n\n";
  for (const SFunction& function : library.functions) {
    text += "u32 " + function.name + "(CVXMachine* m, u32 pc);\n";
  }
  text += "\nconstexpr NativeBlock kTable[] = {\n";
  for (const SRow& row : library.rows) {
    text += "    " + library.functions[row.function].name + ",\n";
  }
  text += "    nullptr,\n};\n\n}  // namespace native_blocks\n\n";
  text += "const SBlockLibrary& BuiltInLibrary() {\n";
  text += "  static const SBlockLibrary library = {{vx_block_table_image, " +
          std::to_string(TableImage(library).size()) + "},\n";
  text += "                                        {native_blocks::kTable, " +
          std::to_string(library.rows.size()) + "}};\n";
  text += "  return library;\n}\n\n}  // namespace vx\n";
  return text;
}

}  // namespace vx::blockgen
