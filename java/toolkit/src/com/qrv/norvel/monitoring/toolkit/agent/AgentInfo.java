package com.qrv.norvel.monitoring.toolkit.agent;

/**
 * The identity of the running agent.
 *
 * @param productCode product code, as the agent's configuration has it
 * @param instance instance identifier; may be empty
 * @param hostName name of the host that the agent runs on
 */
public record AgentInfo(String productCode, String instance, String hostName) {}
