package com.qrv.norvel.monitoring.toolkit.agent;

import java.util.List;

/**
 * An action that somebody runs, or that a situation runs.
 *
 * @param node the subnode that it is meant for, without padding; empty for the agent itself
 * @param word the word that chose the handler
 * @param arguments the words after it, unquoted
 * @param text the whole command as it was given
 */
public record ActionRequest(String node, String word, List<String> arguments, String text) {
  public ActionRequest {
    arguments = List.copyOf(arguments);
  }
}
