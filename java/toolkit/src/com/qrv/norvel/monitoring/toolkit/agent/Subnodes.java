package com.qrv.norvel.monitoring.toolkit.agent;

import java.util.List;

/**
 * The monitored sub-systems of the agent. Any thread may call.
 *
 * <p>Registrations travel to the agent's native side in the order of the calls and take effect soon
 * after. Those made before the agent is up wait for it; after its end they do nothing.
 */
public interface Subnodes {

  /**
   * Makes a sub-system known.
   *
   * @return false when one of that name is registered already, which changes nothing
   * @throws IllegalStateException when too many wait for the agent to come up
   */
  boolean register(Subnode subnode);

  /**
   * Registers a known sub-system again, with another affinity or note say. What was collected of it
   * stays.
   *
   * @return false when no such name is registered, which changes nothing
   * @throws IllegalStateException when too many wait for the agent to come up
   */
  boolean renew(Subnode subnode);

  /**
   * Forgets a sub-system and what was collected of it.
   *
   * @return false when no such name is registered
   * @throws IllegalStateException when too many wait for the agent to come up
   */
  boolean deregister(String name);

  /** The registered names, in the order of their registration; a copy. */
  List<String> registered();
}
