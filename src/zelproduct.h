#pragma once

/// @file
/// The names under which the agent runs, for the parts that the agent is built on. Defined beside
/// it. Null until the agent has read its environment.

/// The product code.
const char* zelProductCode();

/// The instance id.
const char* zelInstanceId();
