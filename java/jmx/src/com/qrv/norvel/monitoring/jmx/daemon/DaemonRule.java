package com.qrv.norvel.monitoring.jmx.daemon;

import com.qrv.norvel.monitoring.toolkit.agent.DaemonCommand;
import java.util.ArrayList;
import java.util.Collections;
import java.util.LinkedHashMap;
import java.util.List;
import java.util.Map;

/**
 * A daemon as the configuration wants it. Immutable.
 *
 * <p>Everywhere but in names {@code ${pid}} and {@code ${subnode}} stand for the target's.
 *
 * @param name for people
 * @param words program and arguments
 * @param perTarget whether each local target gets one, rather than the agent
 * @param directory absolute; null leaves the agent's
 * @param stdout absolute; null drops the output
 * @param stderr absolute; null drops it
 * @param environment changes to the agent's; a null value removes a variable
 */
public record DaemonRule(
    String name,
    List<String> words,
    boolean perTarget,
    String directory,
    String stdout,
    String stderr,
    Map<String, String> environment) {
  public DaemonRule {
    words = List.copyOf(words);
    environment = Collections.unmodifiableMap(new LinkedHashMap<>(environment));
  }

  /**
   * The command for one target, or for the agent itself.
   *
   * @throws IllegalArgumentException when it can't be started; the message says why
   */
  public DaemonCommand command(String pid, String subnode) {
    DaemonCommand.Builder command = DaemonCommand.of(fill(words.get(0), pid, subnode));
    for (String word : words.subList(1, words.size())) {
      command.arg(fill(word, pid, subnode));
    }
    if (directory != null) {
      command.directory(fill(directory, pid, subnode));
    }
    if (stdout != null) {
      command.stdout(fill(stdout, pid, subnode));
    }
    if (stderr != null) {
      command.stderr(fill(stderr, pid, subnode));
    }
    for (Map.Entry<String, String> variable : environment.entrySet()) {
      if (variable.getValue() == null) {
        command.unsetEnv(variable.getKey());
      } else {
        command.setEnv(variable.getKey(), fill(variable.getValue(), pid, subnode));
      }
    }
    return command.build();
  }

  /**
   * The first text in it that looks like a variable and would reach the program as is, or
   * that has no meaning because there is no target; null without one.
   */
  public String strayVariable() {
    List<String> texts = new ArrayList<>(words);
    texts.add(directory);
    texts.add(stdout);
    texts.add(stderr);
    texts.addAll(environment.values());
    for (String text : texts) {
      String left = text == null ? "" : perTarget ? fill(text, "", "") : text;
      int begin = left.indexOf("${");
      if (begin >= 0) {
        int end = left.indexOf('}', begin);
        return end < 0 ? left.substring(begin) : left.substring(begin, end + 1);
      }
    }
    return null;
  }

  private static String fill(String text, String pid, String subnode) {
    return text.replace("${pid}", pid).replace("${subnode}", subnode);
  }
}
