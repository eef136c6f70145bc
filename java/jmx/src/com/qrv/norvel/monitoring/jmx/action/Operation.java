package com.qrv.norvel.monitoring.jmx.action;

import java.util.List;

/**
 * An operation of an MBean that the configuration allows. Immutable.
 *
 * @param word the command's first word
 * @param bean an object name, or a pattern that one bean of a target has to match
 * @param operation the MBean's operation
 * @param arguments in their order
 * @param description for people; may be empty
 */
public record Operation(
    String word, String bean, String operation, List<Argument> arguments, String description) {
  public Operation {
    arguments = List.copyOf(arguments);
  }

  /** How it is called: the word and its arguments. */
  String usage() {
    StringBuilder usage = new StringBuilder(word);
    for (Argument argument : arguments) {
      usage.append(' ').append(argument.usage());
    }
    return usage.toString();
  }
}
