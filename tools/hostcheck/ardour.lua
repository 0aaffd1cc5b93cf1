-- What the ardour7-lua scripts of the host checks share; hc_ardour (lib.sh)
-- names the plug-in under test in the environment. A script starts with
--   local hc = dofile(os.getenv("HC_ARDOUR_PRELUDE"))
local hc = {}

-- A new session on the dummy backend; DEVICE is the signal its inputs carry
-- (the backend's default, silence, unless given).
function hc.session(dir, name, device)
  local backend = AudioEngine:set_backend("None (Dummy)", "", "")
  if device then
    assert(backend:set_device_name(device) == 0, "the dummy backend has no " .. device)
  end
  assert(create_session(dir, name, 48000), "cannot create the session")
end

function hc.tempo(bpm)
  local map = Temporal.TempoMap.fetch_writable()
  map:set_tempo(Temporal.Tempo(bpm, bpm, 4), Temporal.timepos_t(0))
  Temporal.TempoMap.update(map)
end

-- COUNT mono-in, stereo-out audio tracks named NAME, each with the plug-in
-- under test first in its chain: a list of {track, proc, plugin}.
function hc.tracks(count, name)
  local kind, id = os.getenv("HC_ARDOUR_TYPE"), os.getenv("HC_NAME")
  local list = {}
  local tracks = Session:new_audio_track(1, 2, nil, count, name, ARDOUR.PresentationInfo.max_order,
                                         ARDOUR.TrackMode.Normal, true)
  for track in tracks:iter() do
    local proc = ARDOUR.LuaAPI.new_plugin(Session, id, ARDOUR.PluginType[kind], "")
    assert(not proc:isnil(), "Ardour does not know " .. kind .. " " .. id)
    assert(track:add_processor_by_index(proc, 0, nil, true) == 0, "cannot add " .. id)
    list[#list + 1] = {track = track, proc = proc, plugin = proc:to_insert():plugin(0)}
  end
  return list
end

-- One track: track, proc, plugin.
function hc.track(name)
  local t = hc.tracks(1, name)[1]
  return t.track, t.proc, t.plugin
end

function hc.preset(plugin, label)
  local preset = plugin:preset_by_label(label)
  assert(preset and preset.valid, "no preset " .. label)
  assert(plugin:load_preset(preset), "cannot load " .. label)
end

-- Rolls the transport for SECONDS, then stops it.
function hc.roll(seconds)
  Session:request_roll(ARDOUR.TransportRequestSource.TRS_UI)
  sleep(seconds)
  local at = Session:transport_sample()
  Session:request_stop(false, false, ARDOUR.TransportRequestSource.TRS_UI)
  sleep(1)
  return at
end

function hc.save()
  Session:save_state("", false, false, false, false, false)
end

return hc
