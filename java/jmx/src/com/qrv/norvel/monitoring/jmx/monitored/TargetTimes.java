package com.qrv.norvel.monitoring.jmx.monitored;

/**
 * Times of a target, in milliseconds.
 *
 * @param call how long one sample may take
 * @param dial how long connecting may take; at least {@code call}
 * @param heartbeat how long a connection may be unused before a sign of life is asked for
 */
public record TargetTimes(long call, long dial, long heartbeat) {}
