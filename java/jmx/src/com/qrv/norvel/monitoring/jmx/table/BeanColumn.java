package com.qrv.norvel.monitoring.jmx.table;

/** One column of a {@link BeanTable}: its form in the row, and the attribute it is read from. */
public final class BeanColumn {
  /** How the column appears in a row. */
  public enum Form {
    INT32,
    INT64,
    /** UTF-8 text of at most {@link BeanColumn#size()} bytes. */
    TEXT
  }

  /** How an attribute's value becomes the column's. */
  enum Conversion {
    NONE,
    /** A fraction, given in thousandths. A negative one means that the JVM does not know. */
    MILLI
  }

  private final String name;
  private final Form form;
  private final int size;
  private final String attribute;
  private final String item;
  private final Conversion conversion;

  BeanColumn(
      String name, Form form, int size, String attribute, String item, Conversion conversion) {
    this.name = name;
    this.form = form;
    this.size = size;
    this.attribute = attribute;
    this.item = item;
    this.conversion = conversion;
  }

  public String name() {
    return name;
  }

  public Form form() {
    return form;
  }

  /** Bytes of the column in a row. */
  public int size() {
    return size;
  }

  /** The MBean attribute, or null for the title of the target. */
  public String attribute() {
    return attribute;
  }

  /** Turns an attribute's value into a Long, a String or {@link Unavailable}. */
  Object cell(Object value) {
    Object taken = value;
    if (item != null && !(taken instanceof Unavailable)) {
      taken = Items.item(taken, item);
    }
    if (taken instanceof Unavailable) {
      return taken;
    }
    if (PlainValue.isTooLong(taken)) {
      return PlainValue.tooLong();
    }
    if (form == Form.TEXT) {
      String text = PlainValue.text(taken);
      return text != null
          ? text
          : Unavailable.because("it is not a text but a " + taken.getClass().getName());
    }
    if (!PlainValue.isNumber(taken)) {
      return Unavailable.because("it is not a number but a " + taken.getClass().getName());
    }
    return conversion == Conversion.MILLI
        ? PlainValue.thousandths(taken)
        : PlainValue.whole(taken);
  }
}
