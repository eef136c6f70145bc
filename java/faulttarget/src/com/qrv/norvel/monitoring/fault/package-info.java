/**
 * A JVM that misbehaves on command, to rehearse what the agent and its users do then. It uses
 * nothing but the JDK, and nothing of the agent.
 */
package com.qrv.norvel.monitoring.fault;
