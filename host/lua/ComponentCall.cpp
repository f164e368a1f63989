// A call of the component's script functions from the language: arguments go into a script memory
// made for the call, results come out of it.
#include <algorithm>
#include <cstring>
#include <string_view>

#include "host/lua/Internals.h"

namespace vx {

namespace {

constexpr u32 kFirstOffset = 64;  // offset 0 means nothing in some words
constexpr u32 kMostPoints = 65536;
constexpr u32 kPointBytes = 12;
constexpr u32 kCameraWords = 12;
constexpr u32 kRestOfSlice = 0xFFFFFFFF;

u32 WidthOf(EFunctionWord word) {
  switch (word) {
    case EFunctionWord::U8From:
    case EFunctionWord::U8To:
      return 1;
    case EFunctionWord::U16From:
    case EFunctionWord::U16To:
      return 2;
    case EFunctionWord::U64From:
    case EFunctionWord::U64Here:
    case EFunctionWord::U64To:
    case EFunctionWord::F64To:
      return 8;
    default:
      return 4;
  }
}

u64 CheckInteger(lua_State* L, int argument, const SFunctionWord& word) {
  if (word.value == EScriptValue::Optional && lua_isnoneornil(L, argument)) return 0;
  if (word.value == EScriptValue::Boolean && lua_isboolean(L, argument)) {
    return lua_toboolean(L, argument) != 0 ? 1 : 0;
  }
  const lua_Integer value = luaL_checkinteger(L, argument);
  if (word.end != 0) {
    if (value < 0 || value >= static_cast<lua_Integer>(word.end)) {
      luaL_argerror(
          L, argument,
          lua_pushfstring(L, "%s is to be 0 to %d", word.name, static_cast<int>(word.end - 1)));
    }
    return static_cast<u64>(value);
  }
  const u32 bits = WidthOf(word.word) * 8;
  if (bits < 64) {
    const lua_Integer least = -(lua_Integer{1} << (bits - 1));
    const lua_Integer end = lua_Integer{1} << bits;
    if (value < least || value >= end) {
      luaL_argerror(
          L, argument,
          lua_pushfstring(L, "%s does not fit %d bits", word.name, static_cast<int>(bits)));
    }
  }
  return static_cast<u64>(value);
}

// One coordinate of a table at this stack place.
lua_Number NumberAt(lua_State* L, int table, int index, int argument) {
  if (lua_geti(L, table, index) != LUA_TNUMBER) {
    luaL_argerror(L, argument, "a table of numbers is expected");
  }
  const lua_Number value = lua_tonumber(L, -1);
  lua_pop(L, 1);
  return value;
}

i32 WordAt(lua_State* L, int table, int index, int argument) {
  const lua_Number value = NumberAt(L, table, index, argument);
  if (!(value >= -2147483648.0 && value < 2147483648.0)) {
    luaL_argerror(L, argument, "a number does not fit 32 bits");
  }
  return static_cast<i32>(value);
}

class CCall {
 public:
  CCall(lua_State* L, const SFunction& function, std::vector<u8>& memory)
      : L_(L), function_(function), memory_(memory) {
    memory_.assign(kFirstOffset + sizeof(words_), 0);
  }

  void TakeArguments();
  // What the component is called with; null if nothing.
  u64 Argument() const {
    return function_.form == EFunctionForm::Scalar ? words_[0] : u64{kFirstOffset};
  }
  u8* Memory() { return memory_.data(); }
  void StoreBlock() { std::memcpy(memory_.data() + kFirstOffset, words_, sizeof(words_)); }
  int PushResults();
  u32 Work() const { return static_cast<u32>(memory_.size() / 16); }

 private:
  u32 Reserve(u64 bytes) {
    const size_t at = (memory_.size() + 7) / 8 * 8;
    memory_.resize(at + std::max<u64>(bytes, 8));
    return static_cast<u32>(at);
  }
  template <typename T>
  u32 Keep(const T& value) {
    const u32 at = Reserve(sizeof(T));
    std::memcpy(memory_.data() + at, &value, sizeof(T));
    return at;
  }
  template <typename T>
  T Load(u32 offset) const {
    T value;
    std::memcpy(&value, memory_.data() + offset, sizeof(T));
    return value;
  }
  u32 KeepText(int argument) {
    size_t bytes = 0;
    const char* const text = luaL_checklstring(L_, argument, &bytes);
    const u32 at = Reserve(bytes + 1);
    std::memcpy(memory_.data() + at, text, bytes);
    length_ = static_cast<u32>(bytes);
    return at;
  }
  u32 KeepVector(int argument) {
    luaL_checktype(L_, argument, LUA_TTABLE);
    f32 vector[3];
    for (int i = 0; i < 3; ++i) {
      vector[i] = static_cast<f32>(NumberAt(L_, argument, i + 1, argument));
    }
    return Keep(vector);
  }
  u32 KeepPoints(int argument);
  u32 KeepCamera(int argument);
  u32 TakeInput(const SFunctionWord& word, int argument);
  void PushResult(u32 index);

  lua_State* L_;
  const SFunction& function_;
  std::vector<u8>& memory_;
  u32 words_[kFunctionWords + 1] = {};
  u32 size_ = 0;    // of the bytes that are asked for
  u32 length_ = 0;  // of the bytes that are given
  u32 points_ = 0;
};

u32 CCall::KeepPoints(int argument) {
  luaL_checktype(L_, argument, LUA_TTABLE);
  const lua_Unsigned count = lua_rawlen(L_, argument);
  if (count > kMostPoints) luaL_argerror(L_, argument, "there are too many points");
  points_ = static_cast<u32>(count);
  const u32 at = Reserve(u64{points_} * kPointBytes);
  for (u32 i = 0; i < points_; ++i) {
    lua_geti(L_, argument, i + 1);
    if (!lua_istable(L_, -1)) luaL_argerror(L_, argument, "a list of {x, y, z} is expected");
    i32 point[3];
    for (int k = 0; k < 3; ++k) point[k] = WordAt(L_, lua_gettop(L_), k + 1, argument);
    lua_pop(L_, 1);
    std::memcpy(memory_.data() + at + i * kPointBytes, point, sizeof(point));
  }
  return at;
}

u32 CCall::KeepCamera(int argument) {
  luaL_checktype(L_, argument, LUA_TTABLE);
  i32 camera[kCameraWords];
  for (u32 i = 0; i < kCameraWords; ++i) {
    camera[i] = WordAt(L_, argument, static_cast<int>(i) + 1, argument);
  }
  return Keep(camera);
}

u32 CCall::TakeInput(const SFunctionWord& word, int argument) {
  switch (word.word) {
    case EFunctionWord::Value:
      if (word.value == EScriptValue::Size) {
        size_ = static_cast<u32>(CheckInteger(L_, argument, word));
        return size_;
      }
      return static_cast<u32>(CheckInteger(L_, argument, word));
    case EFunctionWord::VectorFrom:
      if (word.value == EScriptValue::VectorOrNil && lua_isnoneornil(L_, argument)) return 0;
      return KeepVector(argument);
    case EFunctionWord::F32From:
      return Keep(static_cast<f32>(luaL_checknumber(L_, argument)));
    case EFunctionWord::BytesFrom:
      if (word.value == EScriptValue::Points) return KeepPoints(argument);
      if (word.value == EScriptValue::Camera) return KeepCamera(argument);
      return KeepText(argument);
    case EFunctionWord::TextFrom:
      return KeepText(argument);
    default:
      return Keep(CheckInteger(L_, argument, word));
  }
}

void CCall::TakeArguments() {
  int argument = 0;
  for (u32 i = 0; i < kFunctionWords; ++i) {
    const SFunctionWord& word = function_.words[i];
    if (!IsArgument(word)) continue;
    ++argument;
    if (word.word == EFunctionWord::U64Here) {
      const u64 value = CheckInteger(L_, argument, word);
      std::memcpy(words_ + i, &value, sizeof(value));
    } else if (word.value == EScriptValue::Function) {
      continue;  // a number that the engine gives
    } else {
      words_[i] = TakeInput(word, argument);
    }
  }
  for (u32 i = 0; i < kFunctionWords; ++i) {
    const SFunctionWord& word = function_.words[i];
    if (word.value == EScriptValue::Length) words_[i] = length_;
    if (word.value == EScriptValue::Stride) words_[i] = 3;
    if (word.value == EScriptValue::Count) words_[i] = points_;
    if (!IsOutput(word.word)) continue;
    const u64 bytes = word.value == EScriptValue::Points ? u64{points_} * kPointBytes : size_;
    words_[i] = Reserve(word.word == EFunctionWord::BytesTo ? bytes : 8);
  }
}

void CCall::PushResult(u32 index) {
  const SFunctionWord& word = function_.words[index];
  const u32 at = function_.form == EFunctionForm::ResultInPlace ? kFirstOffset : words_[index];
  if (word.value == EScriptValue::Points) {
    lua_createtable(L_, static_cast<int>(points_), 0);
    for (u32 i = 0; i < points_; ++i) {
      lua_createtable(L_, 3, 0);
      for (u32 k = 0; k < 3; ++k) {
        lua_pushnumber(L_, static_cast<lua_Number>(Load<f32>(at + i * kPointBytes + 4 * k)));
        lua_rawseti(L_, -2, k + 1);
      }
      lua_rawseti(L_, -2, i + 1);
    }
    return;
  }
  switch (word.word) {
    case EFunctionWord::BytesTo:
      lua_pushlstring(L_, reinterpret_cast<const char*>(memory_.data()) + at, size_);
      return;
    case EFunctionWord::F64To:
      lua_pushnumber(L_, Load<f64>(at));
      return;
    case EFunctionWord::U64To:
      lua_pushinteger(L_, static_cast<lua_Integer>(Load<u64>(at)));
      return;
    default:
      break;
  }
  const u32 value = Load<u32>(at);  // what is narrower was reserved as zeros
  if (word.value == EScriptValue::Boolean) {
    lua_pushboolean(L_, value != 0 ? 1 : 0);
  } else if (word.value == EScriptValue::Signed) {
    lua_pushinteger(L_, static_cast<i32>(value));
  } else {
    lua_pushinteger(L_, value);
  }
}

int CCall::PushResults() {
  int count = 0;
  for (u32 i = 0; i < kFunctionWords; ++i) {
    const SFunctionWord& word = function_.words[i];
    if (word.value != EScriptValue::Success) continue;
    if (Load<u32>(words_[i]) == 0) return 0;  // nil
  }
  for (u32 i = 0; i < kFunctionWords; ++i) {
    const SFunctionWord& word = function_.words[i];
    if (!IsOutput(word.word) || word.value == EScriptValue::Success) continue;
    PushResult(i);
    ++count;
  }
  return count;
}

constexpr u32 kFirstRegistration = 2, kLastRegistration = 4;
constexpr u32 kAddCycles = 37;
constexpr u32 kSetInstances = 59;

}  // namespace

int SComponentCall::Call(lua_State* L) {
  CScriptEngine& engine = CScriptEngine::Of(L);
  const auto number = static_cast<u32>(lua_tointeger(L, lua_upvalueindex(1)));
  const SFunction& function = ComponentFunctions()[number];
  if (number >= kFirstRegistration && number <= kLastRegistration) {
    engine.Register({number, engine.CallbackOf(L, 1)});
    return 0;
  }
  std::vector<u8> memory;
  std::swap(memory, engine.scratch_);  // an error on the way only loses the buffer
  CCall call(L, function, memory);
  if (number == kAddCycles && lua_isnoneornil(L, 1)) {
    engine.port_.table.ScriptCall(engine.current_, 0, number, kRestOfSlice);
    return 0;
  }
  call.TakeArguments();
  call.StoreBlock();
  engine.Charge(L, call.Work());
  int argument = 0;
  for (u32 i = 0; i < kFunctionWords; ++i) {
    if (!IsArgument(function.words[i])) continue;
    ++argument;
    if (function.words[i].value != EScriptValue::Function) continue;
    const u32 callback = engine.CallbackOf(L, argument);
    std::memcpy(call.Memory() + kFirstOffset + 4 * i, &callback, sizeof(callback));
  }
  if (number == kSetInstances) engine.Charge(L, 1000 * call.Argument());
  engine.port_.table.ScriptCall(engine.current_, reinterpret_cast<u64>(call.Memory()), number,
                                call.Argument());
  const int results = call.PushResults();
  std::swap(memory, engine.scratch_);
  return results;
}

void SComponentCall::Open(lua_State* L) {
  for (const SFunction& function : ComponentFunctions()) {
    if (function.form == EFunctionForm::Reserved) continue;
    lua_pushinteger(L, function.number);
    lua_pushcclosure(L, Call, 1);
    lua_setglobal(L, function.name);
  }
}

}  // namespace vx
