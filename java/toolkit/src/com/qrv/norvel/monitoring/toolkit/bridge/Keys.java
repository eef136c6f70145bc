package com.qrv.norvel.monitoring.toolkit.bridge;

/**
 * The keys of the maps that travel. A number means something else in each map, so the keys are
 * grouped by the map that they belong to. They are compiled into their users: no class of these is
 * loaded.
 */
public final class Keys {
  private Keys() {}

  /** Every message. */
  public static final class Envelope {
    public static final int TYPE = 0;
    public static final int ID = 1;
    public static final int BODY = 3;

    /** The address of whoever waits for the answer; goes back unchanged. */
    public static final int HANDLE = 4;

    private Envelope() {}
  }

  /** Body of an exception. */
  public static final class Failure {
    public static final int SEVERITY = 0;
    public static final int MESSAGE = 1;

    private Failure() {}
  }

  /** Body of the init request. */
  public static final class Init {
    public static final int PRODUCT_CODE = 0;
    public static final int INSTANCE = 3;
    public static final int HOST_NAME = 5;

    private Init() {}
  }

  /** Body of the reply to the init request. */
  public static final class InitReply {
    public static final int TOOLKIT = 1;
    public static final int VERSION_AFFINITY = 4;
    public static final int HOST_NAME = 5;
    public static final int AGENT_AFFINITY = 6;
    public static final int TABLES = 8;

    private InitReply() {}
  }

  /** One table in the reply to the init request. */
  public static final class Table {
    public static final int NAME = 7;
    public static final int COLUMNS = 9;
    public static final int SITUATION_TRAP = 15;

    private Table() {}
  }

  /** One column of a table in the reply to the init request. */
  public static final class TableColumn {
    public static final int NAME = 10;
    public static final int TYPE = 11;
    public static final int SIZE = 12;
    public static final int OFFSET = 13;

    private TableColumn() {}
  }

  /** Body of the sample request. */
  public static final class Sample {
    public static final int TABLE = 0;
    public static final int FILTERS = 1;
    public static final int SUBNODES = 5;
    public static final int HISTORY = 6;
    public static final int AUTOMATION = 7;
    public static final int SITUATION = 8;

    private Sample() {}
  }

  /** One filter of a sample request. */
  public static final class SampleFilter {
    public static final int COLUMN = 2;
    public static final int VALUE = 3;

    private SampleFilter() {}
  }

  /** Body of the reply to a sample request. */
  public static final class SampleReply {
    public static final int ROWS = 4;
    public static final int CACHE_SECONDS = 10;

    private SampleReply() {}
  }

  /** Body of the notification that a situation has started or stopped. */
  public static final class SituationState {
    public static final int SITUATION = 0;
    public static final int TABLE = 1;

    /** An integer, 1 or 0. */
    public static final int STARTED = 2;

    private SituationState() {}
  }

  /** Body of the notification that a subnode has appeared. */
  public static final class SubnodeRegistered {
    public static final int NAME = 0;
    public static final int AFFINITY = 1;
    public static final int INFO = 2;
    public static final int INFO_SUFFIX = 3;

    private SubnodeRegistered() {}
  }

  /** Body of the notification that a subnode is gone. */
  public static final class SubnodeDeregistered {
    public static final int NAME = 0;

    private SubnodeDeregistered() {}
  }
}
