package com.qrv.norvel.monitoring.jmx.net;

import java.io.IOException;
import java.io.InputStream;
import java.io.OutputStream;
import java.net.InetAddress;
import java.net.InetSocketAddress;
import java.net.ServerSocket;
import java.net.Socket;
import java.net.SocketException;
import java.rmi.server.RMISocketFactory;
import java.util.Collections;
import java.util.HashMap;
import java.util.HashSet;
import java.util.Map;
import java.util.Set;
import java.util.WeakHashMap;

/**
 * Makes the process's RMI sockets and remembers the open ones by endpoint.
 *
 * <p>RMI pools connections by endpoint and its housekeeping threads dial too, so a call may run on
 * a socket that another thread opened: sockets are found by endpoint, not by thread. None is made
 * that the route of its target does not allow.
 */
public final class TrackedSockets extends RMISocketFactory {
  private final int connectMillis;
  private final int readMillis;
  private final long maxAnswerBytes;
  private final Map<String, Set<Socket>> open = new HashMap<>(); // guarded by open

  // Those in use; guarded by targets.
  private final Set<TargetSockets> targets = Collections.newSetFromMap(new WeakHashMap<>());

  /**
   * @param connectMillis longest time to connect
   * @param readMillis longest silence while something is read; a net under the watchdog
   * @param maxAnswerBytes how much may come in answer to one call
   */
  public TrackedSockets(int connectMillis, int readMillis, long maxAnswerBytes) {
    this.connectMillis = connectMillis;
    this.readMillis = readMillis;
    this.maxAnswerBytes = maxAnswerBytes;
  }

  @Override
  public Socket createSocket(String host, int port) throws IOException {
    return connected(new Checked(endpoint(host, port)), host, port);
  }

  /**
   * Makes a socket for TLS to run over: its answers can't be read here.
   *
   * @throws IOException when the target's route does not allow TLS
   */
  Socket createTlsCarrier(String host, int port) throws IOException {
    String endpoint = endpoint(host, port);
    TargetSockets owner = TargetSockets.ofThread();
    Route route = owner != null ? owner.route() : routeOf(endpoint);
    if (!route.allowsTls()) {
      throw new IOException("it asks for TLS, as no management agent of a local JVM does");
    }
    return connected(new Tracked(endpoint), host, port);
  }

  private Socket connected(Socket socket, String host, int port) throws IOException {
    String endpoint = endpoint(host, port);
    TargetSockets owner = TargetSockets.ofThread();
    InetAddress address =
        owner != null ? owner.admit(host, port) : routeOf(endpoint).resolve(host, port);
    // Known before it connects: a connect that hangs has to end as well.
    synchronized (open) {
      Set<Socket> sockets = open.get(endpoint);
      if (sockets == null) {
        sockets = new HashSet<>();
        open.put(endpoint, sockets);
      }
      sockets.add(socket);
    }
    boolean connected = false;
    try {
      if (owner != null) {
        owner.refuseIfOverdue(endpoint);
      }
      socket.connect(new InetSocketAddress(address, port), connectMillis);
      socket.setTcpNoDelay(true);
      socket.setSoTimeout(soTimeout(owner == null ? 0 : owner.silenceMillis()));
      connected = true;
      return socket;
    } finally {
      if (!connected) {
        socket.close();
      }
    }
  }

  /**
   * The route of a target that has dialled the endpoint before. RMI's own threads dial no others,
   * unless a target has named one to which its own thread was refused.
   */
  private Route routeOf(String endpoint) throws IOException {
    synchronized (targets) {
      for (TargetSockets target : targets) {
        if (target.hasDialled(endpoint)) {
          return target.route();
        }
      }
    }
    throw new IOException("no target's connections lead to " + endpoint);
  }

  void join(TargetSockets target) {
    synchronized (targets) {
      targets.add(target);
    }
  }

  @Override
  public ServerSocket createServerSocket(int port) throws IOException {
    return getDefaultSocketFactory().createServerSocket(port);
  }

  /** Closes every socket that is open to the endpoint. */
  void closeAll(String endpoint) {
    for (Socket socket : openTo(endpoint)) {
      try {
        socket.close();
      } catch (IOException e) {
        // Its descriptor is gone either way, and whoever reads from it wakes up.
        forget(endpoint, socket);
      }
    }
  }

  /** Sets how long a read from the endpoint may be silent, from the next read on. */
  void bear(String endpoint, long millis) {
    for (Socket socket : openTo(endpoint)) {
      try {
        socket.setSoTimeout(soTimeout(millis));
      } catch (SocketException e) {
        // It has been closed, and nobody reads from it any more.
        forget(endpoint, socket);
      }
    }
  }

  /** A net under the watchdog, so it hangs a little lower. */
  private int soTimeout(long silenceMillis) {
    return (int) Math.max(readMillis, Math.min(silenceMillis + connectMillis, Integer.MAX_VALUE));
  }

  /** How many sockets are open, to all endpoints. */
  public int openCount() {
    synchronized (open) {
      int count = 0;
      for (Set<Socket> sockets : open.values()) {
        count += sockets.size();
      }
      return count;
    }
  }

  private Socket[] openTo(String endpoint) {
    synchronized (open) {
      Set<Socket> known = open.get(endpoint);
      return known == null ? new Socket[0] : known.toArray(new Socket[0]);
    }
  }

  private void forget(String endpoint, Socket socket) {
    synchronized (open) {
      Set<Socket> known = open.get(endpoint);
      if (known != null && known.remove(socket) && known.isEmpty()) {
        open.remove(endpoint);
      }
    }
  }

  static String endpoint(String host, int port) {
    return host + ':' + port;
  }

  /** A socket that leaves the book when it closes. */
  private class Tracked extends WarmSocket {
    private final String endpoint;

    Tracked(String endpoint) {
      this.endpoint = endpoint;
    }

    @Override
    public void close() throws IOException {
      forget(endpoint, this);
      super.close();
    }
  }

  /** One whose answers are checked, too. */
  private final class Checked extends Tracked {
    private final AnswerCheck check = new AnswerCheck(this, maxAnswerBytes);
    private InputStream answers;

    Checked(String endpoint) {
      super(endpoint);
    }

    @Override
    public InputStream getInputStream() throws IOException {
      if (answers == null) {
        answers = check.checked(super.getInputStream());
      }
      return answers;
    }

    @Override
    public OutputStream getOutputStream() throws IOException {
      return check.noting(super.getOutputStream());
    }
  }
}
