package com.qrv.norvel.monitoring.toolkit.agent;

/**
 * Is told which situations watch a table, so that an expensive source of data runs only while it is
 * wanted.
 *
 * <p>Each situation is reported once when it begins and once when it ends, however many watches of
 * the agent it consists of. The calls of one handler come one after the other, in the order of what
 * they report, on a thread of the toolkit. A handler that does not return holds up its own later
 * calls and nothing else.
 *
 * <p>An exception is logged and changes nothing: the situation counts as armed all the same. Only a
 * {@link FatalApplicationException} ends the agent. No call comes for the situations that are still
 * armed when the agent ends.
 */
public interface SituationHandler {

  /**
   * A situation has begun to watch the table.
   *
   * <p>On an event table the agent waits for this call until the table's deadline; then the thread
   * is interrupted, and the agent notes the failure and continues. On a sampled table nobody waits
   * and nothing interrupts it: the table is sampled meanwhile, and a call that does not return
   * holds up all later ones for good.
   */
  void armed(Situation situation) throws Exception;

  /** A situation has ended. Nobody waits for this call. */
  void disarmed(Situation situation) throws Exception;
}
