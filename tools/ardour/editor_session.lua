-- Run by open_editor.sh through ardour7-lua: a session for the GUI with two
-- audio tracks, each with TapDelay first in its chain and monitoring its
-- input. The dummy backend's swelling sine sweep feeds the inputs, so the
-- editor's meters keep moving while the transport is stopped.
local dir = arg[1]

local backend = AudioEngine:set_backend("None (Dummy)", "", "")
assert(backend:set_device_name("Sine Sweep Swell") == 0, "the dummy backend has no sweep")
assert(create_session(dir, "editor", 48000), "cannot create the session")

local tracks = Session:new_audio_track(1, 2, nil, 2, "Echo", ARDOUR.PresentationInfo.max_order,
                                       ARDOUR.TrackMode.Normal, true)
for track in tracks:iter() do
  local proc = ARDOUR.LuaAPI.new_plugin(Session, "TapDelay", ARDOUR.PluginType.LXVST, "")
  assert(not proc:isnil(), "Ardour does not know TapDelay")
  assert(track:add_processor_by_index(proc, 0, nil, true) == 0, "cannot add TapDelay")
  track:monitoring_control():set_value(ARDOUR.MonitorChoice.MonitorInput,
                                       PBD.GroupControlDisposition.NoGroup)
end
-- The monitoring change is applied by the process thread: let it run once.
sleep(1)
Session:save_state("", false, false, false, false, false)
print("session " .. dir)
close_session()
