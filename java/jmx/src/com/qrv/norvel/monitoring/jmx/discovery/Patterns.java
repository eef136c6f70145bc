package com.qrv.norvel.monitoring.jmx.discovery;

import java.util.ArrayList;
import java.util.List;
import java.util.regex.Pattern;

/**
 * Names that are included unless they are excluded. In a pattern {@code *} stands for any text and
 * {@code ?} for one character; a pattern matches whole names.
 */
public final class Patterns {
  private final List<Pattern> include;
  private final List<Pattern> exclude;

  public Patterns(List<String> include, List<String> exclude) {
    this.include = compile(include);
    this.exclude = compile(exclude);
  }

  public boolean accept(String name) {
    return matches(include, name) && !matches(exclude, name);
  }

  private static boolean matches(List<Pattern> patterns, String name) {
    for (Pattern pattern : patterns) {
      if (pattern.matcher(name).matches()) {
        return true;
      }
    }
    return false;
  }

  private static List<Pattern> compile(List<String> globs) {
    List<Pattern> patterns = new ArrayList<>();
    for (String glob : globs) {
      StringBuilder regex = new StringBuilder();
      for (int i = 0; i < glob.length(); i++) {
        char c = glob.charAt(i);
        if (c == '*') {
          regex.append(".*");
        } else if (c == '?') {
          regex.append('.');
        } else {
          regex.append(Pattern.quote(String.valueOf(c)));
        }
      }
      patterns.add(Pattern.compile(regex.toString(), Pattern.DOTALL));
    }
    return patterns;
  }
}
