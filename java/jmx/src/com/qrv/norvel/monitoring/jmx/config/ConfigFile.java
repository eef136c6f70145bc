package com.qrv.norvel.monitoring.jmx.config;

import java.io.IOException;
import java.io.InputStream;
import java.nio.file.Files;
import java.nio.file.Path;

/** Finds and reads the configuration file. */
public final class ConfigFile {
  /** Names another file than {@link #DEFAULT_PATH}. */
  public static final String PROPERTY = "zel.jmx.config";

  /** Relative to the working directory, the agent's product home. */
  public static final String DEFAULT_PATH = "config/jmx.yaml";

  private ConfigFile() {}

  /**
   * Reads the file that the system property names, or the default one, which may be absent.
   *
   * @throws ConfigException when the file has a mistake, can't be read, or is named but absent
   */
  public static JmxConfig load() throws ConfigException {
    String named = System.getProperty(PROPERTY);
    Path path = Path.of(named == null ? DEFAULT_PATH : named);
    if (named == null && !Files.exists(path)) {
      return JmxConfig.defaults();
    }
    return read(path);
  }

  static JmxConfig read(Path path) throws ConfigException {
    byte[] content;
    try (InputStream in = Files.newInputStream(path)) {
      content = in.readNBytes(YamlText.MAX_BYTES + 1);
    } catch (IOException e) {
      throw new ConfigException(path + ": the configuration file can't be read: " + e);
    }
    return parse(path.toString(), content);
  }

  /** @param file names the file in messages */
  static JmxConfig parse(String file, byte[] content) throws ConfigException {
    // A file of comments says nothing, and the YAML library costs more to load than a first sample.
    if (isBlank(content)) {
      return JmxConfig.defaults();
    }
    return new ConfigParser(file).parse(YamlText.compose(file, content));
  }

  /** Whether there is nothing but white space and comment lines. */
  private static boolean isBlank(byte[] content) {
    boolean inComment = false;
    for (byte b : content) {
      if (b == '\n') {
        inComment = false;
      } else if (b == '#') {
        inComment = true;
      } else if (!inComment && b != ' ' && b != '\t' && b != '\r') {
        return false;
      }
    }
    return true;
  }
}
