// How a bitmap control reports a new value: its id, the value, and the user
// pointer it was made with. The answer is not used.
#pragma once

typedef bool (*VMQControlCallback)(unsigned int id, float value, void* user);
