package com.qrv.norvel.monitoring.jmx.target;

import com.qrv.norvel.monitoring.jmx.Clock;

/**
 * Times of a connection.
 *
 * @param callMillis how long a call may take
 * @param seldomMillis how old a value may be that is read seldom
 * @param clock tells its age
 */
public record LinkTimes(int callMillis, long seldomMillis, Clock clock) {}
