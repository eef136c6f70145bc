package com.qrv.norvel.monitoring.toolkit.agent;

/**
 * Takes the events of a table, and sends them to the agent's native side in batches. Any thread may
 * call.
 *
 * <p>Each event that is handed over gets the next number of its table, 1, 2, 3, ..., in the column
 * {@link TableDefinition#EVENT_COLUMN}. One that is lost leaves a gap in the numbers, which the
 * agent counts, shows and never hides.
 *
 * <p>Events wait in a queue that is bounded in rows ({@link TableDefinition.Builder#maxQueued}) and
 * in bytes. They also wait there until the agent is up; after its end they are lost. A table for
 * subnodes takes events with the name of one; any other table takes them without.
 *
 * <p>A writer that throws makes no event and takes no number; the caller gets its exception. A
 * subnode that is missing, not wanted or no valid name is an {@link IllegalArgumentException}.
 */
public interface EventTable {

  /** The table as it was declared. */
  TableDefinition definition();

  /**
   * Hands an event over without waiting.
   *
   * @return false when the queue is full or the agent has ended: the event is lost, and counted
   */
  boolean offer(EventWriter event);

  /** As {@link #offer(EventWriter)}, for an event of a subnode. */
  boolean offer(String subnode, EventWriter event);

  /**
   * Hands an event over and waits for room in the queue: for sources that can be slowed down. Not
   * for callbacks of somebody else's threads.
   *
   * @param timeoutMs how long to wait at most, 0 to 3,600,000
   * @return false when there was no room in time or the agent has ended: the event is lost, and
   *     counted
   * @throws IllegalArgumentException when the time is out of range; the event is not counted
   * @throws InterruptedException when the thread is interrupted while it waits: as false
   */
  boolean emit(EventWriter event, long timeoutMs) throws InterruptedException;

  /** As {@link #emit(EventWriter, long)}, for an event of a subnode. */
  boolean emit(String subnode, EventWriter event, long timeoutMs) throws InterruptedException;

  /**
   * Counts events that were lost before they could be handed over, because a source overflowed or
   * was out of reach. They take numbers, so that the gap shows.
   *
   * @param events how many, at least 1; when nobody knows, 1
   */
  void missed(long events);

  /** How many events have been sent. */
  long emitted();

  /**
   * How many events will never be sent: those that were handed over in vain, and those that were
   * {@link #missed}.
   */
  long lost();

  /**
   * Whether anybody watches the table: a situation, or the agent's own record of events, which
   * watches every event table unless it is configured away. Events of a table that nobody watches
   * are sent and forgotten: an expensive source may save itself the trouble.
   */
  boolean isArmed();
}
