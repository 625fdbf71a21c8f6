// The tags that the library gives to the platform with its requests: what each block, record, id or text is for.
#pragma once

#include <cstdint>

namespace zar::tags {

// Kept until the process ends: the table of clients, first and grown, and what describes clients, databases and domains.
constexpr uint32_t kClientTable = 0x3e00003;
constexpr uint32_t kGrownClientTable = 0x3e00008;
constexpr uint32_t kDatabaseRecord = 0x3e00024;
constexpr uint32_t kClientRecord = 0x3e00025;
constexpr uint32_t kClientName = 0x3e00034;
constexpr uint32_t kDomainRecord = 0x3e00035;
constexpr uint32_t kDomainName = 0x3e00036;

// The trees of a database.
constexpr uint32_t kPmapTree = 0x3e00004;
constexpr uint32_t kCmapTree = 0x3e00005;
constexpr uint32_t kTargetTree = 0x3e00006;
constexpr uint32_t kPmtrMapTree = 0x3e00007;

// The id table and every id in it.
constexpr uint32_t kHandle = 0x3e00023;

// Records. Filters are made by two operations, and the first one names their pool.
constexpr uint32_t kPmapRecord = 0x3e00037;
constexpr uint32_t kCmapRecord = 0x3e0003a;
constexpr uint32_t kCmapPmapRef = 0x3e0003e;
constexpr uint32_t kPmapCmapRef = 0x3e0003f;
constexpr uint32_t kHandleFilterRecord = 0x3e00040;
constexpr uint32_t kFilterRecord = 0x3e00041;
constexpr uint32_t kEventTuple = 0x3e00043;
constexpr uint32_t kActionRecord = 0x3e00044;
constexpr uint32_t kTargetRecord = 0x3e00045;
constexpr uint32_t kPolicyContext = 0x3e00046;
constexpr uint32_t kTargetPmap = 0x3e00047;
constexpr uint32_t kPmapTargetRef = 0x3e00048;
constexpr uint32_t kClassAction = 0x3e00049;
constexpr uint32_t kEventContext = 0x3e0004a;

// Interned names and domains of records, and the keys of records in their trees.
constexpr uint32_t kDomainText = 0x3e00033;
constexpr uint32_t kPmapName = 0x3e00038;
constexpr uint32_t kPmapKey = 0x3e00039;
constexpr uint32_t kCmapName = 0x3e0003b;
constexpr uint32_t kCmapKey = 0x3e0003c;
constexpr uint32_t kEventName = 0x3e0003d;
constexpr uint32_t kPmtrMapName = 0x3e00032;
constexpr uint32_t kPmtrMapKey = 0x3e0005a;
// A policy-map's name and domain go back under short tags, not under those with which they were interned; the string
// database uses tags only for statistics.
constexpr uint32_t kReturnedPmapName = 0x38;
constexpr uint32_t kReturnedPmapDomain = 0x33;

// Texts that are built for a listing or a caller and given back at once.
constexpr uint32_t kFilterText = 0x3e00009;
constexpr uint32_t kAllClassMaps = 0x3e0000a;
constexpr uint32_t kOneClassMap = 0x3e0000b;
constexpr uint32_t kClassLine = 0x3e0000c;
constexpr uint32_t kEventLine = 0x3e0000f;
constexpr uint32_t kExpressionCopy = 0x3e00026;

// Lists that action handlers get: targets of an activation; targets of a policy-map.
constexpr uint32_t kActivatedTargets = 0x3e0000d;
constexpr uint32_t kTargetsOfPmap = 0x3e0000e;

// What parameter-maps and their statements look up with, and give back at once.
constexpr uint32_t kReplacingStatementName = 0x3e00027;
constexpr uint32_t kStatementName = 0x3e00028;
constexpr uint32_t kFoundPmtrMapName = 0x3e00029;
constexpr uint32_t kMadePmtrMapName = 0x3e0002a;
constexpr uint32_t kStatementDomain = 0x3e0002b;
constexpr uint32_t kFoundPmtrMapDomain = 0x3e0002c;
constexpr uint32_t kMadePmtrMapDomain = 0x3e0002d;
constexpr uint32_t kReplacingStatementDomain = 0x3e0002e;

}  // namespace zar::tags
