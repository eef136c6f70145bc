#pragma once

/// @file
/// The end of the agent, for the parts that the agent is built on: they need not know the agent.
/// Defined beside it; ZelAgent has the same operations, and those that only it is asked for.

/// Whether the agent's shut-down has begun. Never waits.
bool zelIsEnding();

/// Shuts the agent down. May run more than once, on any thread; it destroys the bridge client.
void zelEndAgent();
