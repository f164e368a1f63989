-- Shows values of the guest's memory over the picture, and finds new ones.
--
-- The second player's buttons drive the search over the game's own data:
--   B2 begins anew, LEFT keeps what fell, RIGHT what rose, UP what changed, DOWN what did not.
-- As soon as few are left they are watched.

local watches = {  -- name, flat offset, format of string.unpack
  { "SCORE", 0x143C, "<I4" },
  { "LIVES", 0x1434, "<I4" },
  { "COINS", 0x141C, "<I4" },
  { "STAGE", 0x1420, "<I4" },
}

local FIRST, SIZE = 0x180000, 0x40000  -- where the game's program and its data lie
local FEW = 4

local candidates, before = nil, nil
local message = "P2 B2: SEARCH"

local function Snapshot() return Emu_ReadBlock(FIRST, SIZE) end

local function Begin()
  before = Snapshot()
  candidates = {}
  for offset = 1, SIZE, 4 do candidates[#candidates + 1] = offset end
  message = "SEARCHING " .. #candidates
end

local tests = {
  LEFT = function(old, new) return new < old end,
  RIGHT = function(old, new) return new > old end,
  UP = function(old, new) return new ~= old end,
  DOWN = function(old, new) return new == old end,
}

local function Narrow(name)
  if not candidates then return end
  local keep, test = string.unpack, tests[name]
  local now, left = Snapshot(), {}
  for _, offset in ipairs(candidates) do
    if test(keep("<I4", before, offset), keep("<I4", now, offset)) then left[#left + 1] = offset end
  end
  before, candidates = now, left
  message = name .. ": " .. #left .. " LEFT"
  print("search " .. name .. " leaves " .. #left)
  if #left > 0 and #left <= FEW then
    for _, offset in ipairs(left) do
      local flat = FIRST + offset - 1
      watches[#watches + 1] = { string.format("%06X", flat), flat, "<I4" }
      print(string.format("watching %06X", flat))
    end
    candidates = nil
    message = "FOUND " .. #left
  end
end

local held = 0
vx.on_input(function()
  local pad, system = vx.get_input(2)
  local pressed = pad & ~held
  held = pad
  if pressed & vx.pad.B2 ~= 0 then Begin() end
  for name in pairs(tests) do
    if pressed & vx.pad[name] ~= 0 then Narrow(name) end
  end
  -- The search's buttons are not for the game.
  vx.set_input(2, 0, system)
end)

vx.on_frame(function()
  local height = 12 + 8 * #watches
  vx.fill(4, 236 - height, 124, height, 0x000020, 170)
  vx.text(8, 238 - height, message, 0x80FFFF)
  for i, watch in ipairs(watches) do
    local value = string.unpack(watch[3], Emu_ReadBlock(watch[2], 4))
    vx.text(8, 238 - height + 8 * i, string.format("%-6s%9d", watch[1], value), 0xFFFFA0)
  end
end)
