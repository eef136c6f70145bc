package com.qrv.norvel.monitoring.toolkit.runtime;

import com.qrv.norvel.monitoring.toolkit.agent.Situation;
import java.util.HashMap;

/**
 * The situations that watch one table.
 *
 * <p>A situation is one or more watches of the native side. Each watch of an event table announces
 * itself twice: it asks to be armed, and it says that it has started. The two come in any order,
 * since they take different ways; one may fail to come. Its end is told once, after both.
 */
final class SituationWatch {
  /** Told of changes, in their order, under the lock of this object. */
  interface Listener {
    /** Returns what can be waited for, or null. */
    SituationCall armed(Situation situation);

    void disarmed(Situation situation);
  }

  private static final class Watched {
    long requests;
    long starts;
    long ends;
    Situation told;

    boolean isOver() {
      return ends >= Math.max(requests, starts);
    }
  }

  private final boolean askedForEach;
  private final Listener listener;
  private final HashMap<String, Watched> situations =
      new HashMap<String, Watched>(); // guarded by this

  /**
   * @param askedForEach whether watches ask to be armed; what they ask says more than their start
   */
  SituationWatch(boolean askedForEach, Listener listener) {
    this.askedForEach = askedForEach;
    this.listener = listener;
  }

  synchronized boolean isArmed() {
    return !situations.isEmpty();
  }

  /** A watch asks to be armed. Returns the call that tells of it, or null when it tells nothing. */
  synchronized SituationCall requested(Situation situation) {
    Watched watched = watched(situation.name());
    watched.requests++;
    return tell(watched, situation);
  }

  /** A watch has started. */
  synchronized void started(Situation situation) {
    Watched watched = watched(situation.name());
    watched.starts++;
    if (!askedForEach) {
      tell(watched, situation);
    }
  }

  /** A watch has ended; one that is not known changes nothing. */
  synchronized void ended(String name) {
    Watched watched = situations.get(name);
    if (watched == null) {
      return;
    }
    watched.ends++;
    if (watched.isOver()) {
      situations.remove(name);
      if (watched.told != null) {
        listener.disarmed(watched.told);
      }
    }
  }

  private Watched watched(String name) {
    Watched watched = situations.get(name);
    if (watched == null) {
      watched = new Watched();
      situations.put(name, watched);
    }
    return watched;
  }

  private SituationCall tell(Watched watched, Situation situation) {
    if (watched.told != null) {
      return null;
    }
    watched.told = situation;
    return listener.armed(situation);
  }
}
