#include "guest/game/scores.h"

#include "guest/game/game.h"

enum { kTableMagic = 0x45524353 /* the bytes "SCRE" */, kCopies = 2 };

_Static_assert(sizeof(STable) == kSectorBytes, "a table is one sector");

STable gTable __attribute__((aligned(8)));

static const char* const kCopyNames[kCopies] = {"SCORES.A", "SCORES.B"};

static uint32_t Checksum(const STable* table) {
  return gKernel->Crc32(0, table, sizeof(STable) - sizeof(uint32_t));
}

static void Report(void) {
  for (uint32_t i = 0; i < kTableRows; i++) {
    volatile SGameTableRow* row = &kGameBlock->table[i];
    row->score = gTable.rows[i].score;
    for (uint32_t c = 0; c < kInitials; c++) row->initials[c] = gTable.rows[i].initials[c];
  }
}

static EDiskResult ReadCopy(uint32_t copy, STable* table) {
  SDiskFile file;
  EDiskResult result = gKernel->FindFile(kCopyNames[copy], &file);
  if (result == kDiskGood) result = gKernel->ReadDisk(file.firstSector, 1, table);
  if (result != kDiskGood) kGameBlock->diskError = result;
  if (result == kDiskGood && (table->magic != kTableMagic || table->crc != Checksum(table))) {
    result = kDiskDamaged;  // never written, or torn
  }
  return result;
}

void ClearTable(void) {
  static const char kNames[kTableRows][kInitials + 1] = {"FER", "RYM", "LAK", "SKI", "OAR",
                                                         "WAK", "COI", "REE", "FOG", "TOW"};
  const uint32_t turn = gTable.turn;
  uint8_t* bytes = (uint8_t*)&gTable;
  for (uint32_t i = 0; i < sizeof(STable); i++) bytes[i] = 0;
  gTable.magic = kTableMagic;
  gTable.turn = turn;
  for (uint32_t i = 0; i < kTableRows; i++) {
    gTable.rows[i].score = (kTableRows - i) * 5000;
    gTable.rows[i].stage = (uint8_t)((kTableRows - 1 - i) / 3);
    for (uint32_t c = 0; c < kInitials; c++) gTable.rows[i].initials[c] = kNames[i][c];
  }
  Report();
}

void LoadTable(void) {
  static STable copies[kCopies] __attribute__((aligned(8)));
  bool bGood[kCopies];
  for (uint32_t i = 0; i < kCopies; i++) bGood[i] = ReadCopy(i, &copies[i]) == kDiskGood;
  if (!bGood[0] && !bGood[1]) {
    gTable.turn = 0;
    ClearTable();
    kGameBlock->tableSource = kTableMadeNew;
    return;
  }
  const bool bSecond = bGood[1] && (!bGood[0] || (int32_t)(copies[1].turn - copies[0].turn) > 0);
  gTable = copies[bSecond];
  kGameBlock->tableSource = bSecond ? kTableFromB : kTableFromA;
  Report();
}

void SaveTable(void) {
  SDiskFile file;
  gTable.magic = kTableMagic;
  gTable.turn++;
  gTable.crc = Checksum(&gTable);
  EDiskResult result = gKernel->FindFile(kCopyNames[gTable.turn & 1], &file);
  if (result == kDiskGood) result = gKernel->WriteDisk(file.firstSector, 1, &gTable);
  kGameBlock->diskError = result;
  if (result == kDiskGood) kGameBlock->tableWrites = kGameBlock->tableWrites + 1;
  Report();
}

uint32_t RankOf(uint32_t score) {
  uint32_t rank = 0;
  while (rank < kTableRows && score <= gTable.rows[rank].score) rank++;
  return rank;
}

uint32_t EnterScore(uint32_t score, uint32_t stage, const char* initials) {
  const uint32_t rank = RankOf(score);
  if (rank == kTableRows) return rank;
  for (uint32_t i = kTableRows - 1; i > rank; i--) gTable.rows[i] = gTable.rows[i - 1];
  STableRow* row = &gTable.rows[rank];
  row->score = score;
  row->stage = (uint8_t)stage;
  for (uint32_t i = 0; i < kInitials; i++) row->initials[i] = initials[i];
  return rank;
}

void DrawTable(uint16_t* page, uint32_t frames, uint32_t highlighted) {
  enum { kTop = 50, kStep = 16, kEachFrames = 6 };
  DrawHeadline(page, 18, Text(kTextHighScores), kInkGold);
  for (uint32_t i = 0; i < kTableRows; i++) {
    // Rows come in from the right, one after the other.
    int32_t slide = (int32_t)(i * kEachFrames + 24) - (int32_t)frames;
    if (slide < 0) slide = 0;
    slide = slide * slide / 2;
    if (slide > kWidth) continue;
    const STableRow* row = &gTable.rows[i];
    char text[32];
    char* end = FormatNumber(text, i + 1, 2);
    end = AppendText(end, "  ");
    for (uint32_t c = 0; c < kInitials; c++) *end++ = row->initials[c];
    end = AppendText(end, "  ");
    end = FormatNumber(end, row->score, 8);
    end = AppendText(end, "  ");
    end = AppendText(end, Text(kTextStage));
    *end++ = ' ';
    AppendNumber(end, row->stage + 1u);
    uint16_t color = i == 0 ? RGB(31, 28, 10) : i < 3 ? RGB(31, 24, 18) : RGB(24, 24, 30);
    if (i == highlighted && (frames & 8)) color = RGB(31, 31, 31);
    const int32_t x = 44 + slide;
    const int32_t y = kTop + (int32_t)i * kStep;
    if (x < kWidth - 8) DrawShadowText(page, x, y, text, color);
  }
}
