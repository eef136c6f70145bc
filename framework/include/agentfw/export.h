#pragma once

/// Marks what the framework exports. The same declaration serves the library that calls it:
/// the symbol stays undefined there and is bound by whichever framework the process links.
#define AGENTFW_API __attribute__((visibility("default")))
