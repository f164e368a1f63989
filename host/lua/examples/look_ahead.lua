-- A tool-assisted run of Golden Wake: each frame two branches run ahead of the board, one steering
-- left and one right. Both are shown, and the run goes the way that keeps more distance.

local function ReadSymbols()
  local text = vx.read_text("opencabinet.symbols")
  if not text then error("opencabinet.symbols is missing beside the pack; build the target guest", 0) end
  local places = {}
  for line in text:gmatch("[^\n]+") do
    local name, offset = line:match("^(%S+) (%x+)")
    if name then places[name] = tonumber(offset, 16) end
  end
  return places
end

local symbols = ReadSymbols()
local STATE, STATE_TITLE, STATE_PLAY = 0x1408, 3, 7
local LEFT, RIGHT, FIRE = 0x001, 0x002, 0x020  -- as the game holds controls
local THINGS, THING_BYTES, THING = 96, 52, "<I4i4I4I4I4I4fff"
local PLAYER_X, PLAYER_Z, SIGHT = 60, 5.0, 16.0
-- Kinds that harm: buoys, logs, drones, boats, pikes, pillars, mines.
local HARMS = { [1] = true, [2] = true, [3] = true, [4] = true, [5] = true, [6] = true, [11] = true }

local function PlayerX() return (string.unpack("<f", Emu_ReadBlock(symbols.gPlayers + PLAYER_X, 4))) end

-- How safe a place on the lake is: the nearer what harms comes to its line, the less.
local function Safety()
  local block, x, worst = Emu_ReadBlock(symbols.gThings, THINGS * THING_BYTES), PlayerX(), 10.0
  for i = 0, THINGS - 1 do
    local kind, _, _, _, _, _, thing_x, _, z = string.unpack(THING, block, 1 + i * THING_BYTES)
    if HARMS[kind] and z > PLAYER_Z - 1 and z < PLAYER_Z + SIGHT then
      worst = math.min(worst, math.abs(thing_x - x) + (z - PLAYER_Z) * 0.15)
    end
  end
  return worst - math.abs(x) * 0.05  -- and rather in the middle
end

-- In a branch: steer behind the reading of the controls, and ask for the picture of the next whole
-- frame. A request counts from the call before.
Emu_SetMIPSBreakpoint(symbols.ReadSwitches, function()
  local branch = Emu_GetStepInstance()
  if branch == 0 then return end
  Emu_Write32(symbols.gControls, FIRE | (branch == 1 and LEFT or RIGHT))
  Emu_SetStepMode(true, 2)
  Emu_SetStepMode(true, 1)
end)

local safety, pairs_seen, choice = {}, 0, 0
Emu_AddFrameCallback(function()
  local branch = Emu_GetStepInstance()
  if branch ~= 0 then safety[branch] = { Safety(), PlayerX() } end
end)

vx.on_branches(function()
  local left, right = safety[1], safety[2]
  if not left or not right then return end
  pairs_seen = pairs_seen + 1
  choice = left[1] >= right[1] and 1 or 2
  for branch = 1, 2 do
    local x = branch == 1 and 8 or 216
    vx.branch(branch, x, 160, 96, 72)
    vx.box(x - 1, 159, 98, 74, branch == choice and 0x40FF40 or 0x808080)
    vx.text(x + 2, 162, branch == 1 and "LEFT" or "RIGHT", 0xFFFFFF)
    vx.text(x + 2, 222, string.format("%.2f", safety[branch][1]), 0xFFFF80)
  end
  if pairs_seen == 60 then
    print(string.format("60 pairs of branches; the last: left at %.2f, right at %.2f", left[2], right[2]))
  end
  safety = {}
end)

vx.on_input(function()
  local state = Emu_Read32(STATE)
  local frame = Emu_GetFrameNumber()
  if state == STATE_PLAY then
    Emu_SetStepMode(true)
    local pad = vx.pad.B1
    if choice == 1 then pad = pad | vx.pad.LEFT elseif choice == 2 then pad = pad | vx.pad.RIGHT end
    vx.set_input(1, pad)
  elseif state >= STATE_TITLE then
    Emu_SetStepMode(false)
    -- A coin, then start, again and again until the game is on.
    local beat = frame % 60
    vx.set_input(1, beat >= 30 and beat < 34 and vx.pad.START or 0, beat < 4 and vx.system.COIN1 or 0)
  end
end)
