package com.qrv.norvel.monitoring.jmx.table;

/**
 * What a table reads, and how often. One object per table, which tells its reads apart.
 *
 * @param beans an object name or a pattern
 * @param attributes attribute names, without duplicates; not to be changed
 * @param rhythms one for each attribute; not to be changed
 * @param seldomValue a bean with this value among its attributes is read seldom as a whole; or null
 */
public record BeanReads(
    String beans, String[] attributes, Rhythm[] rhythms, String seldomValue) {}
