package com.qrv.norvel.monitoring.jmx.net;

import java.io.IOException;
import java.io.InputStream;
import java.io.OutputStream;
import java.net.InetSocketAddress;
import java.net.ServerSocket;
import java.net.Socket;
import java.net.SocketException;
import java.rmi.server.RMISocketFactory;
import java.util.HashMap;
import java.util.HashSet;
import java.util.Map;
import java.util.Set;

/**
 * Makes the process's RMI sockets and remembers the open ones by endpoint.
 *
 * <p>RMI pools connections by endpoint and its housekeeping threads dial too, so a call may run on
 * a socket that another thread opened: sockets are found by endpoint, not by thread.
 */
public final class TrackedSockets extends RMISocketFactory {
  private final int connectMillis;
  private final int readMillis;
  private final long maxAnswerBytes;
  private final Map<String, Set<Socket>> open = new HashMap<>(); // guarded by open

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
    String endpoint = endpoint(host, port);
    TargetSockets owner = TargetSockets.ofThread();
    if (owner != null) {
      owner.admit(endpoint);
    }
    Socket socket = new Tracked(endpoint);
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
      socket.connect(new InetSocketAddress(host, port), connectMillis);
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

  /** A socket that leaves the book when it closes, and whose answers are checked. */
  private final class Tracked extends WarmSocket {
    private final String endpoint;
    private final AnswerCheck check = new AnswerCheck(this, maxAnswerBytes);
    private InputStream answers;

    Tracked(String endpoint) {
      this.endpoint = endpoint;
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

    @Override
    public void close() throws IOException {
      forget(endpoint, this);
      super.close();
    }
  }
}
