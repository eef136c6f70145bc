package com.qrv.norvel.monitoring.jmx.discovery;

import java.util.List;

/**
 * Names that are included unless they are excluded. In a pattern {@code *} stands for any text and
 * {@code ?} for one character; a pattern matches whole names.
 */
public final class Patterns {
  private final List<int[]> include;
  private final List<int[]> exclude;

  public Patterns(List<String> include, List<String> exclude) {
    this.include = codePoints(include);
    this.exclude = codePoints(exclude);
  }

  public boolean accept(String name) {
    int[] characters = name.codePoints().toArray();
    return matches(include, characters) && !matches(exclude, characters);
  }

  private static List<int[]> codePoints(List<String> globs) {
    return globs.stream().map(glob -> glob.codePoints().toArray()).toList();
  }

  private static boolean matches(List<int[]> globs, int[] name) {
    for (int[] glob : globs) {
      if (matches(glob, name)) {
        return true;
      }
    }
    return false;
  }

  /**
   * Where the texts differ, only the last star takes one character more: what the stars before it
   * took need not change. So the time is bounded by the product of the lengths.
   */
  private static boolean matches(int[] glob, int[] name) {
    int at = 0;
    int star = -1;
    int afterStar = 0; // in the name: behind what the last star took
    for (int i = 0; i < name.length; ) {
      if (at < glob.length && glob[at] == '*') {
        star = at++;
        afterStar = i;
      } else if (at < glob.length && (glob[at] == '?' || glob[at] == name[i])) {
        at++;
        i++;
      } else if (star >= 0) {
        at = star + 1;
        i = ++afterStar;
      } else {
        return false;
      }
    }
    while (at < glob.length && glob[at] == '*') {
      at++;
    }
    return at == glob.length;
  }
}
