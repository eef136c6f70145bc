package com.qrv.norvel.monitoring.jmx.monitored;

/**
 * What a table has cost at a target.
 *
 * @param table its name
 * @param lastMillis of the last read
 * @param maxMillis of the longest read so far
 */
public record WorkTime(String table, long lastMillis, long maxMillis) {}
