#pragma once

#include "agentfw/export.h"
#include "agentfw/vuira.h"

/// @file
/// Remote-agent interface: what an agent tells the framework about itself and its subnodes, and the
/// framework's main loop. Operations return 0 on success and an error code otherwise; texts are
/// copied, and texts that are returned live as long as the process. Any thread may call.

extern "C" {

/// The machine's host name, or the configured one.
AGENTFW_API const char* IRA_GetHostname();

/// The agent's node name, INSTANCE:HOST:PRODUCT, at most 32 bytes.
AGENTFW_API const char* IRA_GetOriginnode();

/// The two-letter product code.
AGENTFW_API const char* IRA_GetProductName();

/// Looks the product up in the product registry and writes its version, zero-terminated, into
/// `buffer` of `size` bytes. An unknown product is an error.
AGENTFW_API int IRA_SetVersionUsingProduct(const char* product, char* buffer, int size);

AGENTFW_API int IRA_SetHostname(const char* name);
AGENTFW_API int IRA_SetAffinity(const char* affinity);
AGENTFW_API int IRA_SetCurrency(int first, int second);

/// Names the function that runs take-action commands for a product. It is called on a worker.
AGENTFW_API int IRA_RegisterCommandCallback(const char* product,
                                            int (*callback)(VuiraAutomationCapsule*));

/// Names the function that the main loop calls once to load the agent: it registers the table
/// managers and returns 0, or anything else when the agent can't run.
AGENTFW_API void IRA_RegisterAgentLoader(int (*loader)());

/// Registers a subnode; takes effect at the next IRA_Subnode_SendRequest. `count` affinities follow
/// of which four are given. A name is 1 to 32 bytes; registering a known one again renews it.
AGENTFW_API int IRA_Subnode_Register_nAff(const char* name, const char* product,
                                          const char* version, int count, const char* affinity1,
                                          const char* affinity2, const char* affinity3,
                                          const char* affinity4);

/// Sets the information text, at most 16 bytes, of a registered subnode.
AGENTFW_API int IRA_SetNodeInfo(const char* info, const char* name);

/// Closes the subnode's requests, waits for their callbacks within a bound, and marks the subnode
/// as gone at the next IRA_Subnode_SendRequest.
AGENTFW_API int IRA_Subnode_Deregister(const char* name);

/// Makes the registrations and deregistrations since the last call take effect.
AGENTFW_API int IRA_Subnode_SendRequest();

/// Asks the main loop to end: refuses new callbacks and waits, bounded, for those in progress (not
/// for a caller's own). May come at any time, from any thread, more than once; before kramain it
/// makes kramain return at once.
AGENTFW_API int IRA_Shutdown(int mode);

/// Runs the framework on the calling thread until IRA_Shutdown; returns 0, or an error code when
/// it could not start.
AGENTFW_API int kramain(int argc, char** argv);
}
