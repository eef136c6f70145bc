package com.qrv.norvel.monitoring.toolkit.agent;

/**
 * A request for rows in which a column equals a value. Only a hint: a sampler may ignore it.
 *
 * @param column name of the column
 * @param value the value as text
 */
public record Filter(String column, String value) {}
