package com.qrv.norvel.monitoring.toolkit.runtime;

import com.qrv.norvel.monitoring.toolkit.agent.AgentLog;
import com.qrv.norvel.monitoring.toolkit.agent.EventTable;
import com.qrv.norvel.monitoring.toolkit.agent.EventWriter;
import com.qrv.norvel.monitoring.toolkit.agent.Subnode;
import com.qrv.norvel.monitoring.toolkit.agent.TableDefinition;
import java.util.ArrayDeque;
import java.util.ArrayList;

/** The events of one table that wait to be sent. Any thread fills it, one empties it. */
final class EventQueue implements EventTable {
  /** How many bytes of rows may wait. */
  static final int MAX_BYTES = 16 * 1024 * 1024;

  /** How many rows are sent at once, and how many bytes unless one row has more. */
  static final int MAX_BATCH = 500;

  static final int MAX_BATCH_BYTES = 1024 * 1024;

  private static final long NANOS_PER_MILLI = 1_000_000;
  private static final long MAX_TIMEOUT_MS = 3_600_000;

  /** Told when there is something to do. */
  interface Listener {
    /** Rows wait in a queue that was empty. */
    void eventsWait();

    /** Events have been lost since the last {@link EventQueue#reportLost}. */
    void eventLost();
  }

  final TableLayout layout;
  private final SituationWatch watch;
  private final Clock clock;
  private final AgentLog log;
  private final BadCells bad;
  private final Listener listener;
  private final int capacity;
  private final int batch;
  private final ArrayDeque<byte[]> rows = new ArrayDeque<byte[]>(); // guarded by this, as follows
  private boolean closed;
  private long offered;
  private long emitted;
  private long lost;
  private long reportedLost;

  EventQueue(
      TableLayout layout, SituationWatch watch, Clock clock, AgentLog log, Listener listener) {
    this.layout = layout;
    this.watch = watch;
    this.clock = clock;
    this.log = log;
    this.listener = listener;
    bad = BadCells.ofEvents(layout, log);
    int size = layout.table.rowSize();
    capacity = Math.min(layout.table.maxQueued(), MAX_BYTES / size);
    batch = Math.max(1, Math.min(MAX_BATCH, MAX_BATCH_BYTES / size));
  }

  @Override
  public TableDefinition definition() {
    return layout.table;
  }

  @Override
  public boolean offer(EventWriter event) {
    return offer(write(withoutSubnode(), event));
  }

  @Override
  public boolean offer(String subnode, EventWriter event) {
    return offer(write(checked(subnode), event));
  }

  @Override
  public boolean emit(EventWriter event, long timeoutMs) throws InterruptedException {
    return emit(write(withoutSubnode(), event), timeoutMs);
  }

  @Override
  public boolean emit(String subnode, EventWriter event, long timeoutMs)
      throws InterruptedException {
    return emit(write(checked(subnode), event), timeoutMs);
  }

  @Override
  public void missed(long events) {
    if (events < 1) {
      throw new IllegalArgumentException(
          "table " + layout.table.name() + ": " + events + " missed events");
    }
    synchronized (this) {
      offered += events;
      lost += events;
    }
    listener.eventLost();
  }

  @Override
  public synchronized long emitted() {
    return emitted;
  }

  @Override
  public synchronized long lost() {
    return lost;
  }

  @Override
  public boolean isArmed() {
    return watch.isArmed();
  }

  /** The next rows to send, or null; {@link #sent} or {@link #dropped} follows. */
  synchronized ArrayList<Object> take() {
    if (rows.isEmpty()) {
      return null;
    }
    int count = Math.min(batch, rows.size());
    ArrayList<Object> taken = new ArrayList<Object>(count);
    for (int i = 0; i < count; i++) {
      taken.add(rows.pollFirst());
    }
    notifyAll();
    return taken;
  }

  synchronized void sent(int count) {
    emitted += count;
  }

  void dropped(int count) {
    synchronized (this) {
      lost += count;
    }
    listener.eventLost();
  }

  /** Logs how many events have been lost since the last time. */
  void reportLost() {
    long more;
    long all;
    synchronized (this) {
      more = lost - reportedLost;
      all = lost;
      reportedLost = lost;
    }
    if (more > 0) {
      log.warning(
          "table "
              + layout.table.name()
              + ": "
              + more
              + " events lost, "
              + all
              + " since the start; up to "
              + capacity
              + " may wait");
    }
  }

  /** Loses what waits and whatever follows. */
  synchronized void close() {
    closed = true;
    lost += rows.size();
    rows.clear();
    notifyAll();
  }

  private byte[] write(String subnode, EventWriter event) {
    byte[] row = layout.newRow(subnode);
    RowCells cells = new RowCells(layout, bad);
    cells.begin(row);
    event.write(cells);
    cells.begin(null);
    return row;
  }

  private boolean offer(byte[] row) {
    boolean first;
    boolean taken;
    synchronized (this) {
      first = rows.isEmpty();
      taken = add(row);
    }
    return tell(first, taken);
  }

  private boolean emit(byte[] row, long timeoutMs) throws InterruptedException {
    if (timeoutMs < 0 || timeoutMs > MAX_TIMEOUT_MS) {
      throw new IllegalArgumentException(
          "table " + layout.table.name() + ": " + timeoutMs + " ms is not in 0 to 3600000");
    }
    boolean first;
    boolean taken;
    synchronized (this) {
      waitForRoom(timeoutMs);
      first = rows.isEmpty();
      taken = add(row);
    }
    return tell(first, taken);
  }

  private boolean tell(boolean first, boolean taken) {
    if (!taken) {
      listener.eventLost();
    } else if (first) {
      listener.eventsWait();
    }
    return taken;
  }

  /** Gives a row its number and a place; without a place, the number is the gap that is seen. */
  private boolean add(byte[] row) {
    offered++;
    if (closed || rows.size() >= capacity) {
      lost++;
      return false;
    }
    layout.putEventNumber(row, offered);
    rows.addLast(row);
    return true;
  }

  private void waitForRoom(long timeoutMs) throws InterruptedException {
    long end = clock.nanoTime() + timeoutMs * NANOS_PER_MILLI;
    long left = end - clock.nanoTime();
    try {
      while (!closed && rows.size() >= capacity && left > 0) {
        clock.await(this, left);
        left = end - clock.nanoTime();
      }
    } catch (InterruptedException interrupt) {
      offered++;
      lost++;
      listener.eventLost();
      throw interrupt;
    }
  }

  private String withoutSubnode() {
    if (layout.table.isPerSubnode()) {
      throw new IllegalArgumentException(
          "table " + layout.table.name() + ": an event of it needs a subnode");
    }
    return null;
  }

  private String checked(String subnode) {
    if (!layout.table.isPerSubnode()) {
      throw new IllegalArgumentException(
          "table " + layout.table.name() + " has no subnodes, got '" + subnode + "'");
    }
    return Subnode.named(subnode).name();
  }
}
