-- Run by ardour_state.sh through ardour7-lua. "make": a session with the
-- plug-in under test on a track, a factory program and some values changed
-- through Ardour's controls (tempo sync off, the plug-in's bypass on), saved. "reload": the same session opened again and saved as a
-- snapshot "reloaded". Both print every parameter Ardour holds.
--   ardour7-lua ardour_state.lua make|reload DIR
local hc = dofile(os.getenv("HC_ARDOUR_PRELUDE"))
local mode, dir = arg[1], arg[2]
local proc
if mode == "make" then
  hc.session(dir, "state")
  local _, p, plugin = hc.track("Echo")
  proc = p
  hc.preset(plugin, "Dub Echo")
  sleep(1)  -- the program's values come back from the plug-in while it runs
  for _, v in ipairs({{3, 0.1}, {35, 1}, {58, 0.37}, {60, 0}, {62, 1}}) do
    ARDOUR.LuaAPI.set_processor_param(proc, v[1], v[2])
  end
  sleep(1)
else
  assert(load_session(dir, "state"), "cannot load the session")
  proc = Session:route_by_name("Echo"):nth_plugin(0)
  sleep(1)
end
local plugin = proc:to_insert():plugin(0)
for i = 0, plugin:parameter_count() - 1 do
  print(string.format("param %d %s %.9g", i, plugin:parameter_label(i),
                      ARDOUR.LuaAPI.get_processor_param(proc, i, true)))
end
if mode == "make" then hc.save() else Session:save_state("reloaded", false, false, false, false, false) end
close_session()
