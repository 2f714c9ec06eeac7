// rtfcolors.h: adding colours to a table whose index is kept from one time to the next.
#ifndef RTFCOLORS_H
#define RTFCOLORS_H

#include "rtfindex.h"
#include "rtftables.h"

struct RtfByDefinition {
    typedef SAsc<SString> Order;
    static const SString& Of(const SRtfColorEntry& entry) { return entry.m_strDefinition; }
};

/// SRtfColorTable::AddColorTable without its guard.
void RtfAddColors(SRtfColorTable& table, RtfIndex<RtfByDefinition>& index, const SString& text,
                  SRtfNumberMap& map);

#endif
