package com.qrv.norvel.monitoring.toolkit.agent;

import java.util.ArrayList;
import java.util.Collections;
import java.util.HashMap;
import java.util.List;
import java.util.Map;

/**
 * What to start as a daemon. Immutable.
 *
 * <p>Words travel as one line that is split at blanks, without quoting. So no word may be empty or
 * hold white space, control characters or quotes, and a program in a folder whose name has a blank
 * cannot be started: give it a link.
 */
public final class DaemonCommand {
  /** The greatest number of words, the program included. */
  public static final int MAX_WORDS = 255;

  private final List<String> words;
  private final Map<String, String> environment;
  private final String directory;
  private final String stdout;
  private final String stderr;

  private DaemonCommand(Builder builder) {
    words = Collections.unmodifiableList(new ArrayList<String>(builder.words));
    environment = Collections.unmodifiableMap(new HashMap<String, String>(builder.environment));
    directory = builder.directory;
    stdout = builder.stdout;
    stderr = builder.stderr;
  }

  /**
   * Begins a command.
   *
   * @param program absolute path of the program; no search path is used
   */
  public static Builder of(String program) {
    return new Builder(program);
  }

  /** The program and its arguments. */
  public List<String> words() {
    return words;
  }

  /** Changes to the agent's environment; a null value removes a variable. */
  public Map<String, String> environment() {
    return environment;
  }

  /** Working directory; null leaves the agent's. */
  public String directory() {
    return directory;
  }

  /** File that standard output is appended to; null discards it. */
  public String stdout() {
    return stdout;
  }

  /** File that standard error is appended to; null discards it. */
  public String stderr() {
    return stderr;
  }

  /** Collects a command. What cannot be passed on is an {@link IllegalArgumentException}. */
  public static final class Builder {
    private final ArrayList<String> words = new ArrayList<String>();
    private final HashMap<String, String> environment = new HashMap<String, String>();
    private String directory;
    private String stdout;
    private String stderr;

    private Builder(String program) {
      if (program == null || !program.startsWith("/")) {
        throw new IllegalArgumentException(
            "daemon program '" + program + "': expected an absolute path");
      }
      arg(program);
    }

    /** Appends one argument. */
    public Builder arg(String word) {
      checkWord(word);
      if (words.size() == MAX_WORDS) {
        throw new IllegalArgumentException(
            "daemon " + words.get(0) + ": more than " + MAX_WORDS + " words");
      }
      words.add(word);
      return this;
    }

    /** Sets a variable of the environment. */
    public Builder setEnv(String name, String value) {
      checkVariable(name);
      environment.put(name, checkedText("value of " + name, value));
      return this;
    }

    /** Takes a variable out of the environment. */
    public Builder unsetEnv(String name) {
      checkVariable(name);
      environment.put(name, null);
      return this;
    }

    /** Sets the working directory. */
    public Builder directory(String path) {
      directory = checkedPath("directory", path);
      return this;
    }

    /** Appends standard output to a file, created for its owner only when it is missing. */
    public Builder stdout(String path) {
      stdout = checkedPath("standard output", path);
      return this;
    }

    /** Appends standard error to a file, created for its owner only when it is missing. */
    public Builder stderr(String path) {
      stderr = checkedPath("standard error", path);
      return this;
    }

    public DaemonCommand build() {
      return new DaemonCommand(this);
    }

    private static void checkWord(String word) {
      if (word == null || word.isEmpty()) {
        throw new IllegalArgumentException("daemon command: an empty word cannot be passed on");
      }
      for (int i = 0; i < word.length(); i++) {
        char c = word.charAt(i);
        if (Character.isWhitespace(c) || Character.isISOControl(c)) {
          throw new IllegalArgumentException(
              "daemon command: word '"
                  + word
                  + "' contains white space or a control character; the line is split at blanks and"
                  + " nothing can be quoted");
        }
        if (c == '"' || c == '\'') {
          throw new IllegalArgumentException(
              "daemon command: word '"
                  + word
                  + "' contains a quote, which would be passed to the program as is");
        }
      }
    }

    private static void checkVariable(String name) {
      if (name == null || name.isEmpty() || name.indexOf('=') >= 0 || name.indexOf('\0') >= 0) {
        throw new IllegalArgumentException(
            "daemon environment: '" + name + "' is not the name of a variable");
      }
    }

    private static String checkedPath(String what, String path) {
      if (path == null || !path.startsWith("/")) {
        throw new IllegalArgumentException(
            "daemon " + what + " '" + path + "': expected an absolute path");
      }
      return checkedText(what, path);
    }

    private static String checkedText(String what, String text) {
      if (text == null || text.indexOf('\0') >= 0) {
        throw new IllegalArgumentException("daemon " + what + ": null or a zero character");
      }
      return text;
    }
  }
}
