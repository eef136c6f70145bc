package com.qrv.norvel.monitoring.jmx.link;

import com.qrv.norvel.monitoring.jmx.base.Clock;

/**
 * Times of a connection.
 *
 * @param callMillis how long a call may take
 * @param seldomMillis how old a value may be that is read seldom
 * @param clock tells its age
 */
public record LinkTimes(int callMillis, long seldomMillis, Clock clock) {}
