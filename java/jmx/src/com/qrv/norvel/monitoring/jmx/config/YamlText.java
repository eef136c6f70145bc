package com.qrv.norvel.monitoring.jmx.config;

import java.nio.ByteBuffer;
import java.nio.CharBuffer;
import java.nio.charset.StandardCharsets;
import org.yaml.snakeyaml.LoaderOptions;
import org.yaml.snakeyaml.composer.Composer;
import org.yaml.snakeyaml.error.Mark;
import org.yaml.snakeyaml.error.MarkedYAMLException;
import org.yaml.snakeyaml.error.YAMLException;
import org.yaml.snakeyaml.nodes.Node;
import org.yaml.snakeyaml.parser.ParserImpl;
import org.yaml.snakeyaml.reader.StreamReader;
import org.yaml.snakeyaml.resolver.Resolver;

/** Turns the bytes of a file into the nodes of a YAML document, or says where they are none. */
final class YamlText {
  /** Of a file; ten thousand remote targets have room. */
  static final int MAX_BYTES = 2 << 20;

  private YamlText() {}

  /** The root of the document, or null when it is empty. */
  static Node compose(String file, byte[] content) throws ConfigException {
    if (content.length > MAX_BYTES) {
      throw ConfigException.at(
          file, 1, 1, "the file is larger than " + MAX_BYTES + " bytes, the most that is read");
    }
    String text = decode(file, content);
    LoaderOptions options = new LoaderOptions();
    options.setMaxAliasesForCollections(10);
    options.setNestingDepthLimit(10);
    StreamReader reader = new StreamReader(text);
    try {
      return new Composer(new ParserImpl(reader, options), new Resolver(), options)
          .getSingleNode();
    } catch (MarkedYAMLException e) {
      Mark mark = e.getProblemMark() == null ? reader.getMark() : e.getProblemMark();
      throw error(file, mark, e.getProblem());
    } catch (YAMLException | IllegalArgumentException e) {
      // The library parses some numbers, those of escapes for example, without a look at them.
      throw error(file, reader.getMark(), e.getMessage());
    }
  }

  /** Whether a character may appear in a line of a message as it is. */
  static boolean isShown(int c) {
    int type = Character.getType(c);
    return !Character.isISOControl(c)
        && type != Character.SURROGATE
        && type != Character.LINE_SEPARATOR
        && type != Character.PARAGRAPH_SEPARATOR;
  }

  private static ConfigException error(String file, Mark mark, String problem) {
    return ConfigException.at(
        file, mark.getLine() + 1, mark.getColumn() + 1, "it is not valid YAML: " + problem);
  }

  private static String decode(String file, byte[] content) throws ConfigException {
    CharBuffer text = CharBuffer.allocate(content.length);
    boolean isText =
        !StandardCharsets.UTF_8
            .newDecoder()
            .decode(ByteBuffer.wrap(content), text, true)
            .isError();
    text.flip();
    int line = 1;
    int column = 1;
    for (int i = 0; i < text.length(); ) {
      int c = Character.codePointAt(text, i);
      if (!StreamReader.isPrintable(c)) {
        throw ConfigException.at(
            file, line, column,
            String.format("the character U+%04X is not allowed in the file; remove it", c));
      }
      column = c == '\n' ? 1 : column + 1;
      line += c == '\n' ? 1 : 0;
      i += Character.charCount(c);
    }
    if (!isText) {
      throw ConfigException.at(
          file, line, column, "this byte is not valid UTF-8; save the file in UTF-8");
    }
    return text.toString();
  }
}
