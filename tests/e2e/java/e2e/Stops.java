package e2e;

import com.qrv.norvel.monitoring.toolkit.agent.Agent;
import com.qrv.norvel.monitoring.toolkit.agent.FatalApplicationException;
import java.util.HashMap;

/**
 * Ends the agent from its inside, at moments that the system property {@code e2e.stops} names:
 * {@code application@120,critical@300,error@50} in milliseconds since 1970, at once when they have
 * passed. "configure" instead of a moment fails the configuration itself.
 */
public final class Stops {
  private static final String PROPERTY = "e2e.stops";
  private static final String APPLICATION = "application";
  private static final String CRITICAL = "critical";
  private static final String ERROR = "error";

  /** From then on the server throws. */
  private static volatile boolean errorIsDue;

  private final HashMap<String, Long> moments = new HashMap<>();
  private volatile boolean criticalIsDue;

  /** Throws an Error out of the server, once its moment has come. */
  public static void failServer() {
    if (errorIsDue) {
      throw new StackOverflowError("out of the server");
    }
  }

  void begin(Agent agent) {
    for (String stop : System.getProperty(PROPERTY, "").split(",")) {
      if (stop.equals(CRITICAL + "@configure")) {
        throw new FatalApplicationException("no configuration");
      } else if (stop.equals(ERROR + "@configure")) {
        throw new StackOverflowError("no configuration");
      } else if (!stop.isEmpty()) {
        String[] parts = stop.split("@");
        moments.put(parts[0], Long.valueOf(parts[1]));
      }
    }
    at(moments.get(APPLICATION), () -> agent.stop("its moment has come"));
    at(moments.get(CRITICAL), () -> criticalIsDue = true);
    at(moments.get(ERROR), () -> errorIsDue = true);
  }

  /** Ends the agent from a sampler, once the moment has come. */
  void failSample() {
    if (criticalIsDue) {
      throw new FatalApplicationException("critical");
    }
  }

  /** Ends the agent from the application's start, when the moment comes. */
  void failStart() throws InterruptedException {
    if (moments.containsKey(CRITICAL)) {
      while (!criticalIsDue) {
        Thread.sleep(1);
      }
      failSample();
    }
  }

  private static void at(Long moment, Runnable action) {
    if (moment == null) {
      return;
    }
    Thread thread =
        new Thread(
            () -> {
              try {
                Thread.sleep(Math.max(0, moment - System.currentTimeMillis()));
                action.run();
              } catch (InterruptedException end) {
                Thread.currentThread().interrupt();
              }
            },
            "stop");
    thread.setDaemon(true);
    thread.start();
  }
}
