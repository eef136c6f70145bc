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

  /** Body of the take-action request. */
  public static final class Action {
    public static final int NODE = 0;
    public static final int COMMAND = 1;

    private Action() {}
  }

  /** Body of the reply to a take-action request. */
  public static final class ActionReply {
    public static final int CODE = 2;
    public static final int MESSAGE = 3;

    private ActionReply() {}
  }

  /** Body of the web service request. */
  public static final class Web {
    public static final int PATH = 0;

    /** The query of a GET, the content of a POST. */
    public static final int CONTENT = 1;

    public static final int LANGUAGE = 2;

    private Web() {}
  }

  /** Body of the reply to a web service request. */
  public static final class WebReply {
    public static final int CODE = 7;
    public static final int MEDIA = 8;
    public static final int CONTENT = 9;

    private WebReply() {}
  }

  /** Body of the situation request. */
  public static final class Situation {
    public static final int TABLE = 0;
    public static final int FILTERS = 1;
    public static final int SUBNODES = 5;
    public static final int HISTORY = 6;
    public static final int AUTOMATION = 7;
    public static final int SITUATION = 8;
    public static final int INTERVAL = 9;
    public static final int START = 10;

    private Situation() {}
  }

  /** One filter of a situation request. */
  public static final class SituationFilter {
    public static final int COLUMN = 2;
    public static final int VALUE = 3;
    public static final int OPERATOR = 11;

    private SituationFilter() {}
  }

  /** Body of the reply to a situation request. */
  public static final class SituationReply {
    public static final int ROWS = 4;

    private SituationReply() {}
  }

  /** Body of the notification that a situation has started or stopped. */
  public static final class SituationState {
    public static final int SITUATION = 0;
    public static final int TABLE = 1;

    /** An integer, 1 or 0. */
    public static final int STARTED = 2;

    public static final int INTERVAL = 3;
    public static final int HISTORY = 4;
    public static final int AUTOMATION = 5;

    private SituationState() {}
  }

  /** Body of the notification that an event table has rows. */
  public static final class Events {
    public static final int TABLE = 0;
    public static final int ROWS = 1;

    private Events() {}
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
