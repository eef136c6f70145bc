package com.qrv.norvel.monitoring.jmx.net;

import java.io.IOException;
import java.net.InetAddress;
import java.util.ArrayDeque;

/**
 * The endpoints that one target's thread has dialled, so that all their sockets can be closed when
 * a call hangs.
 *
 * <p>A call that hangs in a read ends only when its socket is closed. RMI then reconnects by
 * itself, so new connections are refused until {@link #allow}.
 */
public final class TargetSockets {
  /** A restarted JVM has new ports; older endpoints than these are of no more use. */
  private static final int MAX_ENDPOINTS = 8;

  private static final ThreadLocal<TargetSockets> CURRENT = new ThreadLocal<>();

  private final TrackedSockets factory;
  private final ArrayDeque<String> endpoints = new ArrayDeque<>(); // guarded by this
  private boolean refusing; // guarded by this
  private long silenceMillis; // guarded by this
  private Route route = TargetSockets::refuse; // guarded by this

  /** Nothing may be dialled before {@link #lead}. */
  public TargetSockets(TrackedSockets factory) {
    this.factory = factory;
    factory.join(this);
  }

  private static InetAddress refuse(String host, int port) throws IOException {
    throw new IOException("the target has no route yet");
  }

  /** Sets where the target's connections may lead from now on. */
  public synchronized void lead(Route way) {
    route = way;
  }

  /** Where the target's connections may lead now. */
  public synchronized Route route() {
    return route;
  }

  synchronized boolean hasDialled(String endpoint) {
    return endpoints.contains(endpoint);
  }

  /** Makes this the owner of the endpoints that the calling thread dials from now on. */
  public void adoptThread() {
    CURRENT.set(this);
  }

  static TargetSockets ofThread() {
    return CURRENT.get();
  }

  /** Lets the target's thread dial again. */
  public synchronized void allow() {
    refusing = false;
  }

  /**
   * Sets how long the target may be silent while it answers: on what is open, and on what its
   * thread opens from now on. Less than the factory's own limit changes nothing.
   */
  public void bear(long millis) {
    String[] known;
    synchronized (this) {
      if (millis == silenceMillis) {
        return;
      }
      silenceMillis = millis;
      known = endpoints.toArray(new String[0]);
    }
    for (String endpoint : known) {
      factory.bear(endpoint, millis);
    }
  }

  synchronized long silenceMillis() {
    return silenceMillis;
  }

  /** Closes every socket to the target's endpoints and refuses new ones. Never blocks. */
  public void cut() {
    String[] known;
    synchronized (this) {
      refusing = true;
      known = endpoints.toArray(new String[0]);
    }
    for (String endpoint : known) {
      factory.closeAll(endpoint);
    }
  }

  /**
   * Notes an endpoint that the target's thread is about to dial.
   *
   * @return the address to dial
   */
  InetAddress admit(String host, int port) throws IOException {
    String endpoint = TrackedSockets.endpoint(host, port);
    refuseIfOverdue(endpoint);
    InetAddress address = route().resolve(host, port);
    synchronized (this) {
      endpoints.remove(endpoint);
      endpoints.addLast(endpoint);
      if (endpoints.size() > MAX_ENDPOINTS) {
        endpoints.removeFirst();
      }
    }
    return address;
  }

  /** @throws IOException once the target's sockets have been cut */
  synchronized void refuseIfOverdue(String endpoint) throws IOException {
    if (refusing) {
      throw new IOException("the target is overdue, so " + endpoint + " is not dialled");
    }
  }
}
