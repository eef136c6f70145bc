#include "agentfw/res1.h"

#include "basic/handle_table.h"

int RES1_Drop(RES1_Handle handle) { return fw::HandleTable::instance().drop(handle); }
