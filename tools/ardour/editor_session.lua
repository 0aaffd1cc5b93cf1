-- Run by open_editor.sh through ardour7-lua: a session for the GUI with two
-- audio tracks, each with TapDelay first in its chain and monitoring its
-- input. The dummy backend's swelling sine sweep feeds the inputs, so the
-- editor's meters keep moving while the transport is stopped.
local hc = dofile(os.getenv("HC_ARDOUR_PRELUDE"))
hc.session(arg[1], "editor", "Sine Sweep Swell")
for _, t in ipairs(hc.tracks(2, "Echo")) do
  t.track:monitoring_control():set_value(ARDOUR.MonitorChoice.MonitorInput,
                                         PBD.GroupControlDisposition.NoGroup)
end
-- The monitoring change is applied by the process thread: let it run once.
sleep(1)
hc.save()
print("session " .. arg[1])
close_session()
