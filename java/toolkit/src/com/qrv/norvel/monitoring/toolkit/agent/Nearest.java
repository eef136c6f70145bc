package com.qrv.norvel.monitoring.toolkit.agent;

import java.util.ArrayList;
import java.util.Collection;
import java.util.Comparator;
import java.util.List;
import java.util.Locale;
import java.util.TreeSet;

/**
 * Orders names by how little one would have to type to get from a wrong one to them; upper
 * and lower case count as equal.
 */
public final class Nearest {
  private Nearest() {}

  /** The names, nearest first; equally near ones by their text. */
  public static List<String> first(String wrong, Collection<String> names) {
    ArrayList<String> ordered = new ArrayList<String>(new TreeSet<String>(names));
    ordered.sort(new ByDistance(wrong)); // Keeps the order of equals.
    return ordered;
  }

  private static final class ByDistance implements Comparator<String> {
    private final String wrong;

    ByDistance(String wrong) {
      // Longer ones are far from every name; their tail would only cost time.
      String typed = wrong.length() > 100 ? wrong.substring(0, 100) : wrong;
      this.wrong = typed.toLowerCase(Locale.ROOT);
    }

    @Override
    public int compare(String one, String other) {
      return Integer.compare(distanceTo(one), distanceTo(other));
    }

    private int distanceTo(String name) {
      return distance(wrong, name.toLowerCase(Locale.ROOT));
    }
  }

  /** Characters to insert, delete or replace. */
  private static int distance(String from, String to) {
    int[] row = new int[to.length() + 1];
    for (int j = 0; j < row.length; j++) {
      row[j] = j;
    }
    for (int i = 1; i <= from.length(); i++) {
      int diagonal = row[0];
      row[0] = i;
      for (int j = 1; j < row.length; j++) {
        int replaced = diagonal + (from.charAt(i - 1) == to.charAt(j - 1) ? 0 : 1);
        diagonal = row[j];
        row[j] = Math.min(replaced, 1 + Math.min(row[j], row[j - 1]));
      }
    }
    return row[to.length()];
  }
}
