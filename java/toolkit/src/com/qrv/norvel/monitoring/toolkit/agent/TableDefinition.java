package com.qrv.norvel.monitoring.toolkit.agent;

import java.util.ArrayList;
import java.util.Collections;
import java.util.HashMap;
import java.util.List;
import java.util.Map;

/**
 * A table as the agent registers it: its columns, and how it is sampled. Immutable.
 *
 * <p>Columns lie in a row in the order of their declaration, without gaps.
 */
public final class TableDefinition {
  /** Name of the column that says which subnode a row belongs to. */
  public static final String SUBNODE_COLUMN = "ORIGINNODE";

  /** Width of {@link #SUBNODE_COLUMN}, and so the longest name of a subnode, in bytes. */
  public static final int SUBNODE_SIZE = 32;

  /** Name of the column that numbers the events of an event table. */
  public static final String EVENT_COLUMN = "EVENTSEQ";

  private final String name;
  private final List<Column> columns;
  private final int[] offsets;
  private final Map<String, Integer> indexes;
  private final int rowSize;
  private final long deadlineMs;
  private final int cacheSeconds;
  private final int maxRows;
  private final int maxQueued;

  private TableDefinition(Builder builder) {
    if (builder.columns.isEmpty()) {
      throw new IllegalArgumentException("table " + builder.name + " has no columns");
    }
    name = builder.name;
    columns = Collections.unmodifiableList(new ArrayList<Column>(builder.columns));
    indexes = new HashMap<String, Integer>(builder.indexes);
    offsets = new int[columns.size()];
    int offset = 0;
    for (int i = 0; i < offsets.length; i++) {
      offsets[i] = offset;
      offset += columns.get(i).size();
    }
    if (offset > Builder.MAX_ROW_SIZE) {
      throw new IllegalArgumentException(
          "table " + name + ": a row has " + offset + " bytes, more than " + Builder.MAX_ROW_SIZE);
    }
    rowSize = offset;
    deadlineMs = builder.deadlineMs;
    cacheSeconds = builder.cacheSeconds;
    maxRows = builder.maxRows;
    maxQueued = builder.maxQueued;
  }

  /**
   * Begins a table.
   *
   * @param name 1 to 31 characters: an upper-case ASCII letter, then letters, digits, underscores
   */
  public static Builder builder(String name) {
    return new Builder(name);
  }

  public String name() {
    return name;
  }

  /** The columns in their order; the one that names the subnode included. */
  public List<Column> columns() {
    return columns;
  }

  public Column column(int index) {
    return columns.get(index);
  }

  /** Where a column begins in a row, in bytes. */
  public int offset(int index) {
    return offsets[index];
  }

  /**
   * Position of a column.
   *
   * @throws IllegalArgumentException when the table has no column of that name
   */
  public int indexOf(String column) {
    Integer index = indexes.get(column);
    if (index == null) {
      throw new IllegalArgumentException("table " + name + " has no column " + column);
    }
    return index.intValue();
  }

  /** Bytes of one row. */
  public int rowSize() {
    return rowSize;
  }

  /** Whether the table's rows belong to subnodes, rather than to the agent as a whole. */
  public boolean isPerSubnode() {
    return indexes.containsKey(SUBNODE_COLUMN);
  }

  /** Whether the table's rows are events, which are pushed, rather than sampled. */
  public boolean isEvents() {
    return indexes.containsKey(EVENT_COLUMN);
  }

  /** How long a sampler, or the handler of situations, may take, in milliseconds. */
  public long deadlineMs() {
    return deadlineMs;
  }

  /** How long the rows of a sample stay good, in seconds; 0 asks the sampler every time. */
  public int cacheSeconds() {
    return cacheSeconds;
  }

  /** How many rows one sample may have. */
  public int maxRows() {
    return maxRows;
  }

  /** How many events may wait to be sent. */
  public int maxQueued() {
    return maxQueued;
  }

  @Override
  public String toString() {
    return "table " + name + " " + columns;
  }

  /** Collects what makes a table. Not safe for use by several threads. */
  public static final class Builder {
    /** A row's size, and so its columns' offsets, travel in signed 16-bit numbers. */
    private static final int MAX_ROW_SIZE = Short.MAX_VALUE;

    private final String name;
    private final ArrayList<Column> columns = new ArrayList<Column>();
    private final HashMap<String, Integer> indexes = new HashMap<String, Integer>();
    private final ArrayList<String> sampledOnly = new ArrayList<String>();
    private boolean hasMaxQueued;
    private long deadlineMs = 10_000;
    private int cacheSeconds;
    private int maxRows = 100_000;
    private int maxQueued = 10_000;

    private Builder(String name) {
      this.name = Names.checked("table", name);
    }

    /**
     * Appends a column.
     *
     * @throws IllegalArgumentException when the name is taken
     */
    public Builder column(Column column) {
      if (column.name().equals(SUBNODE_COLUMN)
          && (column.type() != ColumnType.CHARACTERS || column.size() != SUBNODE_SIZE)) {
        throw new IllegalArgumentException(
            "table "
                + name
                + ": "
                + column
                + " can't name the subnode, which takes "
                + SUBNODE_SIZE
                + " characters; perSubnode() adds that column");
      }
      if (column.name().equals(EVENT_COLUMN)) {
        throw new IllegalArgumentException(
            "table " + name + ": column " + EVENT_COLUMN + " is added by events()");
      }
      return add(column);
    }

    private Builder add(Column column) {
      if (indexes.putIfAbsent(column.name(), Integer.valueOf(columns.size())) != null) {
        throw new IllegalArgumentException(
            "table " + name + " already has a column " + column.name());
      }
      columns.add(column);
      return this;
    }

    /**
     * Makes this a per-subnode table: appends the column {@link #SUBNODE_COLUMN}, which the toolkit
     * fills. Such a table is sampled for one subnode at a time. Call it before the first column, so
     * that the subnode comes first.
     */
    public Builder perSubnode() {
      return column(Columns.characters(SUBNODE_COLUMN, SUBNODE_SIZE));
    }

    /**
     * Makes this an event table: appends the column {@link #EVENT_COLUMN}, which the toolkit fills
     * with the number of each event. Such a table has no sampler: the application hands its rows
     * over. Call it before the first column, and after {@link #perSubnode}.
     */
    public Builder events() {
      return add(Columns.int64(EVENT_COLUMN));
    }

    /**
     * Sets how many events may wait to be sent; what comes on top is lost. Together they may have
     * 16 MiB at most. Without this call, 10,000. Only for an event table.
     *
     * @param events 1 to 1,000,000
     */
    public Builder maxQueued(int events) {
      maxQueued = (int) checked("event queue", events, 1, 1_000_000);
      hasMaxQueued = true;
      return this;
    }

    /**
     * Sets how long the sampler, or the handler of an event table's situations, may take before the
     * agent is answered with a failure. Without this call, 10 seconds.
     *
     * @param milliseconds 1 to 3,600,000
     */
    public Builder deadlineMs(long milliseconds) {
      deadlineMs = checked("deadline", milliseconds, 1, 3_600_000);
      return this;
    }

    /**
     * Lets the agent answer from the last sample for a while, without asking the sampler. Without
     * this call, 0: it is always asked. Only for a table that is sampled.
     *
     * @param seconds 0 to 1000
     */
    public Builder cacheSeconds(int seconds) {
      // The agent distrusts what claims to be good for longer, and asks again each time.
      cacheSeconds = (int) checked("cache time", seconds, 0, 1000);
      sampledOnly.add("cacheSeconds()");
      return this;
    }

    /**
     * Sets how many rows one sample may have; a sample with more fails. It keeps a runaway sampler
     * from using up the memory of the process. Without this call, 100,000. Only for a table that is
     * sampled.
     *
     * @param rows 1 to 10,000,000
     */
    public Builder maxRows(int rows) {
      maxRows = (int) checked("row limit", rows, 1, 10_000_000);
      sampledOnly.add("maxRows()");
      return this;
    }

    /**
     * The finished table.
     *
     * @throws IllegalArgumentException without a column, when a row passes 32,767 bytes, and when
     *     something is set that this kind of table does not have
     */
    public TableDefinition build() {
      boolean isEvents = indexes.containsKey(EVENT_COLUMN);
      if (isEvents && !sampledOnly.isEmpty()) {
        throw new IllegalArgumentException(
            "table " + name + ": an event table has no sampler, and so no " + sampledOnly.get(0));
      }
      if (!isEvents && hasMaxQueued) {
        throw new IllegalArgumentException(
            "table " + name + ": maxQueued() is for event tables, made by events()");
      }
      return new TableDefinition(this);
    }

    private long checked(String what, long value, long min, long max) {
      if (value < min || value > max) {
        throw new IllegalArgumentException(
            "table " + name + ": " + what + " " + value + " is not in " + min + " to " + max);
      }
      return value;
    }
  }
}
