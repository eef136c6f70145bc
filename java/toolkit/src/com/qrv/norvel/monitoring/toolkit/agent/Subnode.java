package com.qrv.norvel.monitoring.toolkit.agent;

import java.nio.charset.StandardCharsets;

/**
 * A monitored sub-system.
 *
 * @param name its unique name: 1 to 32 bytes of UTF-8, no control characters or characters
 *     beyond U+FFFF, no blank at either end
 * @param affinity the kind of sub-system; may be empty
 * @param info a note shown beside the name; one of 1 to 15 characters is shown, any other is not
 * @param infoSuffix appended to the note while the whole keeps within 16 characters
 */
public record Subnode(String name, String affinity, String info, String infoSuffix) {

  public Subnode {
    checkName(name);
    if (affinity == null || info == null || infoSuffix == null) {
      throw new IllegalArgumentException("subnode '" + name + "': null is not text, use \"\"");
    }
  }

  /** A sub-system with nothing but a name. */
  public static Subnode named(String name) {
    return new Subnode(name, "", "", "");
  }

  private static void checkName(String name) {
    if (name == null || name.isEmpty()) {
      throw new IllegalArgumentException("a subnode needs a name");
    }
    int bytes = name.getBytes(StandardCharsets.UTF_8).length;
    if (bytes > TableDefinition.SUBNODE_SIZE) {
      throw new IllegalArgumentException(
          "subnode '"
              + name
              + "': the name has "
              + bytes
              + " bytes, more than "
              + TableDefinition.SUBNODE_SIZE);
    }
    for (int i = 0; i < name.length(); i++) {
      // Strings that cross the bridge write characters beyond 16 bits in a way of their own, so
      // such a name would come back as another one.
      if (Character.isISOControl(name.charAt(i)) || Character.isSurrogate(name.charAt(i))) {
        throw new IllegalArgumentException(
            "subnode '" + name + "': control character or character beyond U+FFFF in the name");
      }
    }
    if (name.charAt(0) == ' ' || name.charAt(name.length() - 1) == ' ') {
      throw new IllegalArgumentException("subnode '" + name + "': the name begins or ends blank");
    }
  }
}
