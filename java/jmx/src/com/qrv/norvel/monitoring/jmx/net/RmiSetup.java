package com.qrv.norvel.monitoring.jmx.net;

import java.io.IOException;
import java.io.ObjectInputFilter;
import java.rmi.server.RMISocketFactory;
import java.security.Security;
import java.util.logging.Level;
import java.util.logging.Logger;

/**
 * The process-wide settings of RMI, made once and before anything uses RMI: the runtime reads some
 * of them only when its classes are loaded.
 */
public final class RmiSetup {
  /**
   * What a monitored JVM may send: texts, numbers, dates, open data, lists and maps of these, the
   * exceptions and the stubs of the protocol. A value of any other class costs its attribute, and
   * no code of that class runs here.
   *
   * <p>The old hash tables are missing on purpose: keys with equal hashes make them slow, whatever
   * their order is.
   */
  private static final String CLASSES =
      "java.lang.*;java.lang.management.*;java.lang.reflect.Proxy;"
          + "java.lang.reflect.InvocationTargetException;"
          + "java.lang.reflect.UndeclaredThrowableException;"
          + "java.math.BigDecimal;java.math.BigInteger;java.math.MathContext;"
          + "java.util.ArrayList;java.util.Arrays$ArrayList;java.util.CollSer;"
          + "java.util.Collections$*;java.util.Date;java.util.HashMap;java.util.HashSet;"
          + "java.util.LinkedHashMap;java.util.LinkedHashSet;java.util.LinkedList;"
          + "java.util.Map$Entry;java.util.AbstractMap$*;java.util.TreeMap;java.util.TreeSet;"
          + "java.util.UUID;java.util.Vector;java.util.EventObject;"
          + "java.util.ConcurrentModificationException;java.util.EmptyStackException;"
          + "java.util.IllegalFormat*;java.util.InputMismatchException;"
          + "java.util.MissingResourceException;java.util.NoSuchElementException;"
          + "java.util.concurrent.atomic.Atomic*;java.util.concurrent.TimeUnit;"
          + "java.util.concurrent.CancellationException;java.util.concurrent.CompletionException;"
          + "java.util.concurrent.ExecutionException;java.util.concurrent.TimeoutException;"
          + "java.util.concurrent.RejectedExecutionException;"
          + "java.io.CharConversionException;java.io.EOFException;java.io.FileNotFoundException;"
          + "java.io.IOException;java.io.InterruptedIOException;java.io.InvalidClassException;"
          + "java.io.InvalidObjectException;java.io.NotActiveException;"
          + "java.io.NotSerializableException;java.io.ObjectStreamException;"
          + "java.io.OptionalDataException;java.io.StreamCorruptedException;"
          + "java.io.SyncFailedException;java.io.UncheckedIOException;"
          + "java.io.UTFDataFormatException;java.io.UnsupportedEncodingException;"
          + "java.io.WriteAbortedException;"
          + "java.net.ConnectException;java.net.SocketException;java.net.SocketTimeoutException;"
          + "java.net.UnknownHostException;"
          + "java.security.AccessControlException;java.security.GeneralSecurityException;"
          + "javax.security.auth.login.*;"
          + "javax.management.*;javax.management.openmbean.*;javax.management.remote.*;"
          + "javax.management.remote.rmi.RMIServer;javax.management.remote.rmi.RMIConnection;"
          + "javax.management.remote.rmi.RMIServerImpl_Stub;"
          + "javax.management.remote.rmi.RMIConnectionImpl_Stub;"
          + "java.rmi.*;java.rmi.dgc.Lease;java.rmi.dgc.VMID;"
          + "java.rmi.server.RemoteObject;java.rmi.server.RemoteStub;"
          + "java.rmi.server.RemoteObjectInvocationHandler;"
          + "java.rmi.server.UID;java.rmi.server.ObjID;"
          + "java.rmi.server.ServerNotActiveException;java.rmi.server.SkeletonMismatchException;"
          + "javax.rmi.ssl.SslRMIClientSocketFactory;"
          + "!*";

  /**
   * RMI has a thread for each endpoint that it takes leave of, and tries that five times, at this
   * interval. With the default of three minutes a target that comes and goes would collect them.
   */
  private static final int LEAVE_MILLIS = 1000;

  private static final String TLS_SOCKETS = "ssl.SocketFactory.provider";

  // Kept, because a level is lost with its logger.
  private static final Logger CONNECTOR_LOG = Logger.getLogger("javax.management.remote");

  /** One answer may have this part of the heap; as objects it takes several times as much. */
  private static final int HEAP_PART = 8;

  private static final long MAX_ANSWER_BYTES = 64L << 20;

  /** An element of an array that is announced takes room before anything of it has come. */
  private static final int BYTES_PER_ELEMENT = 64;

  private static TrackedSockets sockets; // guarded by the class

  private RmiSetup() {}

  /**
   * Makes the settings, the first time; later calls give what the first one made.
   *
   * @param callMillis how long a call may take; the times of the network follow from it
   * @throws IOException when somebody else has set RMI's socket factory
   */
  public static synchronized TrackedSockets once(int callMillis) throws IOException {
    if (sockets != null) {
      return sockets;
    }
    // What opens sockets by itself knows only these.
    setDefault("sun.rmi.transport.tcp.handshakeTimeout", callMillis);
    setDefault("sun.rmi.transport.tcp.responseTimeout", 2 * callMillis);
    setDefault("sun.rmi.dgc.cleanInterval", LEAVE_MILLIS);
    long answer = answerBytes(Runtime.getRuntime().maxMemory());
    TrackedSockets made = new TrackedSockets(callMillis, 2 * callMillis, answer);
    RMISocketFactory.setSocketFactory(made);
    // What was given at the start of the process is the operator's own choice and stays.
    if (Security.getProperty(TLS_SOCKETS) == null) {
      Security.setProperty(TLS_SOCKETS, RoutedTlsSockets.class.getName());
    }
    if (ObjectInputFilter.Config.getSerialFilter() == null) {
      ObjectInputFilter patterns = ObjectInputFilter.Config.createFilter(filter(answer));
      ObjectInputFilter.Config.setSerialFilter(
          new RememberedFilter(patterns, SerialForm.MAX_DEPTH, elements(answer)));
    }
    // The connectors write their failures to standard error; each target reports its own.
    CONNECTOR_LOG.setLevel(Level.OFF);
    sockets = made;
    return made;
  }

  /** How large an answer may be in a process with such a heap. */
  static long answerBytes(long heapBytes) {
    return Math.min(MAX_ANSWER_BYTES, heapBytes / HEAP_PART);
  }

  static String filter(long answerBytes) {
    long elements = elements(answerBytes);
    return "maxdepth=" + SerialForm.MAX_DEPTH + ";maxrefs=" + elements + ";maxarray=" + elements
        + ";maxbytes=" + answerBytes + ";" + CLASSES;
  }

  /** How many objects, and elements of an array, such an answer may have. */
  static long elements(long answerBytes) {
    return answerBytes / BYTES_PER_ELEMENT;
  }

  private static void setDefault(String property, int value) {
    if (System.getProperty(property) == null) {
      System.setProperty(property, Integer.toString(value));
    }
  }
}
