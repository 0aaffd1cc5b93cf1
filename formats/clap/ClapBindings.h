// The C tables a host calls through: the plug-in record's functions and the
// extensions, each leading to the TapDelayClap behind the record.
#pragma once

#include "formats/clap/ClapAbi.h"

class TapDelayClap;

void FillPluginRecord(clap::Plugin& record, const clap::PluginDescriptor* descriptor, TapDelayClap* instance);
// The plug-in's table for an extension id; null for those we do not have.
const void* ExtensionTable(const char* id);
