package com.qrv.norvel.monitoring.toolkit.agent;

/**
 * One condition of a situation. Only a hint: the agent evaluates its conditions by itself.
 *
 * @param column name of the column
 * @param operator how the cell is compared, as a number of the agent's native side
 * @param value what it is compared with, as text
 */
public record Condition(String column, int operator, String value) {}
