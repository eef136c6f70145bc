package com.qrv.norvel.monitoring.jmx.monitored;

/**
 * Names and shows a target.
 *
 * @param name the subnode's name
 * @param title what it runs, for people
 * @param pid {@link TargetStatus#UNKNOWN} for one of another machine
 */
public record TargetIdentity(String name, TargetKind kind, String title, long pid, String url) {}
