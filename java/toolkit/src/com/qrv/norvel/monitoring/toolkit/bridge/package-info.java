/**
 * The message protocol between the agent's native side and Java: codes, keys, envelopes, and the
 * dispatcher that answers each request exactly once. Internal: applications use none of it.
 */
package com.qrv.norvel.monitoring.toolkit.bridge;
