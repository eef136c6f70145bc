#pragma once

/// Writes a line to the trace, whatever the trace classes. The text is a printf format without
/// arguments: a percent sign must be written as "%%".
void zelWriteToTrace(const char* text);
