/**
 * What an application is written against: tables, columns, samplers, events, situations, actions,
 * web pages, subnodes, log, daemons.
 *
 * <p>An application implements {@link com.qrv.norvel.monitoring.toolkit.agent.Application} and is
 * named by the system property {@code zel.application}. Everything else in the toolkit is the
 * agent's own and may change at any time.
 */
package com.qrv.norvel.monitoring.toolkit.agent;
