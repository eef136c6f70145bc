package com.qrv.norvel.monitoring.toolkit.agent;

/**
 * One condition of a situation. Only a hint: the agent evaluates its conditions by itself.
 *
 * @param column name of the column
 * @param operator how the cell is compared: one of the constants; {@link #UNKNOWN} or any other
 *     number may come from an agent that says less or knows more comparisons
 * @param value what it is compared with, as text
 */
public record Condition(String column, int operator, String value) {
  /** The agent does not say. */
  public static final int UNKNOWN = 0;

  /** The cell equals the value. The agent's own situations hand down these conditions only. */
  public static final int EQUAL = 1;

  /** It does not. */
  public static final int NOT_EQUAL = 2;

  /** It is as great as the value, or greater. */
  public static final int GREATER_OR_EQUAL = 3;

  /** It is as great as the value, or less. */
  public static final int LESS_OR_EQUAL = 4;

  /** It is less. */
  public static final int LESS = 5;

  /** It is greater. */
  public static final int GREATER = 6;
}
