-- Run by check_parameter_ranges.sh through ardour7-lua: what Ardour makes of
-- TapDelay's parameter properties. For a switch, the selectors and two plain
-- values it prints Ardour's descriptor, then sets every step the descriptor
-- offers and reads back what the plug-in then holds.
local hc = dofile(os.getenv("HC_ARDOUR_PRELUDE"))
hc.session(arg[1], "ranges")
local _, proc, plugin = hc.track("Echo")

local names = {[60] = "TempoSync", [33] = "FilterType0", [61] = "SyncNote", [1] = "Output", [45] = "FilterQ0"}
local wanted = {[60] = 2, [33] = 3, [61] = 4}  -- values each must reach
local ok = true
for _, i in ipairs({60, 33, 61, 1, 45}) do
  local _, t = plugin:get_parameter_descriptor(i, ARDOUR.ParameterDescriptor())
  local d = t[2]
  local steps = d.toggled and 2 or (d.rangesteps > 1 and d.rangesteps or 0)
  local reached = {}
  for k = 0, steps - 1 do
    local v = d.lower + k * (d.upper - d.lower) / (steps - 1)
    ARDOUR.LuaAPI.set_processor_param(proc, i, v)
    reached[#reached + 1] = string.format("%.4g", ARDOUR.LuaAPI.get_processor_param(proc, i))
  end
  print(string.format("param %2d %-12s lower %g upper %g toggled %s integer_step %s rangesteps %d step %g | steps set: %s",
                      i, names[i], d.lower, d.upper, tostring(d.toggled), tostring(d.integer_step),
                      d.rangesteps, d.step, table.concat(reached, " ")))
  if wanted[i] and #reached ~= wanted[i] then ok = false end
end
print(ok and "PASS Ardour's controls reach both switch states, three filter types and four notes"
         or "FAIL a control does not reach every value")
close_session()
