-- Boxes round everything on the lake of Golden Wake, and a sonar: the nearest danger is heard from
-- where it is, by a clone of the sound processor that is placed in space.

-- Where things lie comes from the build: opencabinet.symbols, beside the pack.
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
local STATE, STATE_DEMO, STATE_PLAY = 0x1408, 5, 7   -- of the game's block in low RAM
local THINGS, THING_BYTES, THING = 96, 52, "<I4i4I4I4I4I4fff"
local KIND_BYTES, KIND = 20, "<Bxxxffi4I2B"
local PLAYER_BYTES, PLAYER_X, PLAYER_Z = 80, 60, 5.0
local EYE_X = 24   -- in gLake
local TALLEST = 2.2  -- what is higher harms up to the sky
local SONAR = 0x1E   -- a short tick, a plain effect on a channel of its own
local RANGE = 40.0

local function Float(offset) return (string.unpack("<f", Emu_ReadBlock(offset, 4))) end

local function ReadKinds()
  local kinds = {}
  for i = 0, 11 do
    local row = Emu_ReadBlock(symbols.kThingKinds + i * KIND_BYTES, KIND_BYTES)
    local _, half, height, _, _, harms = string.unpack(KIND, row)
    kinds[i] = { half = half, height = math.min(height, TALLEST), harms = harms ~= 0 }
  end
  return kinds
end

-- The lake's camera as the board's projection takes it: it looks along the lake, eye 2.2 above the
-- water, and the horizon lies on line 88.
local ONE = 65536
local POINT = 1 / 1.52e-05  -- a unit in the projection's points
local centre_line           -- of the projection without an offset; depends on the board
local function Camera(eye_x)
  local function Words(line)
    return { math.floor(eye_x * ONE), math.floor(2.2 * ONE), 0, 0, 0, 0, 0, 220 * ONE, ONE, 0, 0,
             math.floor(line * ONE) }
  end
  if not centre_line then
    centre_line = Emu_Project({ { 0, math.floor(POINT), math.floor(2.2 * POINT) } }, Words(0), 0)[1][2]
  end
  return Words(88 - centre_line)
end

local function ReadThings()
  local block, things = Emu_ReadBlock(symbols.gThings, THINGS * THING_BYTES), {}
  for i = 0, THINGS - 1 do
    local kind, health, _, _, _, _, x, y, z = string.unpack(THING, block, 1 + i * THING_BYTES)
    if kind ~= 0 and z > 1.2 then things[#things + 1] = { kind = kind, x = x, y = y, z = z } end
  end
  return things
end

local sonar_ready, said, pings = nil, false, 0
local function Ping(thing, player_x)
  if sonar_ready == nil then
    sonar_ready = Emu_IsSoundPositional(SONAR)
    if sonar_ready then
      Emu_SetSoundInstances(Emu_GetSoundChannel(SONAR) + 1)
    else
      print("sonar: this pack has no sound that can be placed; boxes only")
    end
  end
  if not sonar_ready then return end
  Emu_SetListener({ player_x, 0, PLAYER_Z }, { 0, 0, 1 }, { -1, 0, 0 }, { 0, 1, 0 })
  if Emu_PlayPositional(SONAR, { thing.x, 0, thing.z }, RANGE) then
    pings = pings + 1
    if pings == 1 then print("sonar: placed sounds play") end
  end
end

local function Number(value) return math.floor(value * POINT) end

local shown, next_ping = 0, 0
vx.on_frame(function()
  local state = Emu_Read32(STATE)
  if state ~= STATE_DEMO and state ~= STATE_PLAY then return end
  local kinds, things = ReadKinds(), ReadThings()
  local player_x = Float(symbols.gPlayers + PLAYER_X)
  local points = {}
  for _, thing in ipairs(things) do
    local kind = kinds[thing.kind]
    points[#points + 1] = { Number(thing.x - kind.half), Number(thing.z), Number(thing.y + kind.height) }
    points[#points + 1] = { Number(thing.x + kind.half), Number(thing.z), Number(thing.y) }
  end
  local seen = Emu_Project(points, Camera(Float(symbols.gLake + EYE_X)), 0)
  local nearest
  for i, thing in ipairs(things) do
    local top, bottom, kind = seen[2 * i - 1], seen[2 * i], kinds[thing.kind]
    if top[3] ~= 0 and thing.z < 40 then
      local color = kind.harms and 0xFF4040 or 0x40FF40
      vx.box(top[1], top[2], bottom[1] - top[1] + 1, bottom[2] - top[2] + 1, color)
      if thing.z < 15 then vx.text(top[1], top[2] - 9, string.format("%.0f", thing.z), color) end
      shown = shown + 1
    end
    if kind.harms and thing.z > PLAYER_Z and (not nearest or thing.z < nearest.z) then nearest = thing end
  end
  if nearest and nearest.z < RANGE then
    local side = nearest.x - player_x
    vx.text(8, 24, string.format("DANGER %4.1f AHEAD %4.1f %s", nearest.z - PLAYER_Z, math.abs(side),
                                  side < 0 and "LEFT" or "RIGHT"), 0xFFC040)
    -- The nearer, the more often.
    local frame = Emu_GetFrameNumber()
    if frame >= next_ping then
      next_ping = frame + math.floor(6 + nearest.z)
      Ping(nearest, player_x)
    end
  end
  if not said and shown > 100 then
    said = true
    print("boxes: " .. #things .. " things on the lake")
  end
end)
