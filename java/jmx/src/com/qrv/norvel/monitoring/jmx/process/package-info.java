/**
 * What Linux tells of the processes of this machine, and what JVMs among them publish of
 * themselves.
 *
 * <p>The agent may run as root beside users who wish it ill. So two kinds of reading are kept
 * apart. What the kernel writes ({@link ProcFs}, {@link ListeningPorts}) is believed. What a
 * process has made (its memory map, its files) is opened only when owner, type and size fit, is
 * checked byte by byte, and may hang whoever reads it.
 */
package com.qrv.norvel.monitoring.jmx.process;
