package com.qrv.norvel.monitoring.jmx.table;

import java.io.IOException;
import java.util.ArrayList;
import java.util.List;

/**
 * A table with one row per MBean: the declaration that both the columns and the reader follow.
 * Immutable once built; {@link #read} may be called by any thread.
 */
public final class BeanTable {
  private final String name;
  private final String beans;
  private final List<BeanColumn> columns;
  private final String[] attributes;
  private final BeanReads reads;
  private final int[] attributeOfColumn;

  private BeanTable(Builder builder) {
    name = builder.name;
    beans = builder.beans;
    columns = new ArrayList<>(builder.columns);
    attributeOfColumn = new int[columns.size()];
    List<String> distinct = new ArrayList<>();
    for (int i = 0; i < attributeOfColumn.length; i++) {
      String attribute = columns.get(i).attribute();
      int at = distinct.indexOf(attribute);
      if (at < 0 && attribute != null) {
        at = distinct.size();
        distinct.add(attribute);
      }
      attributeOfColumn[i] = at;
    }
    attributes = distinct.toArray(new String[0]);
    Rhythm[] rhythms = new Rhythm[attributes.length];
    for (int i = 0; i < rhythms.length; i++) {
      rhythms[i] =
          builder.seldom.contains(attributes[i]) ? Rhythm.SELDOM : Rhythm.EACH_SAMPLE;
    }
    reads = new BeanReads(beans, attributes, rhythms, builder.seldomValue);
  }

  /** Starts the declaration of a table whose rows are the beans that {@code beans} names. */
  static Builder of(String name, String beans) {
    return new Builder(name, beans);
  }

  public String name() {
    return name;
  }

  /** The object name, or the pattern, of the beans that are its rows. */
  public String beans() {
    return beans;
  }

  /** The attributes that are read of each bean, without duplicates. */
  public List<String> attributes() {
    return List.of(attributes);
  }

  /** The columns after the subnode's name, in row order. */
  public List<BeanColumn> columns() {
    return new ArrayList<>(columns);
  }

  public BeanColumn column(int index) {
    return columns.get(index);
  }

  public int width() {
    return attributeOfColumn.length;
  }

  /**
   * Reads the table.
   *
   * @param title the target's title, for the column that shows it
   * @return one array per bean with one cell per column: a Long, a String or {@link Unavailable}
   * @throws IOException when the source failed as a whole
   */
  public Object[][] read(BeanSource source, String title) throws IOException {
    Object[][] values = source.read(reads);
    Object[][] rows = new Object[values.length][];
    for (int bean = 0; bean < values.length; bean++) {
      Object[] row = new Object[attributeOfColumn.length];
      for (int i = 0; i < row.length; i++) {
        int at = attributeOfColumn[i];
        row[i] = at < 0 ? title : columns.get(i).cell(values[bean][at]);
      }
      rows[bean] = row;
    }
    return rows;
  }

  /** Collects the columns in row order. */
  static final class Builder {
    private final String name;
    private final String beans;
    private final List<BeanColumn> columns = new ArrayList<>();
    private final List<String> seldom = new ArrayList<>();
    private String seldomValue; // or null

    Builder(String name, String beans) {
      this.name = name;
      this.beans = beans;
    }

    Builder int32(String column, String attribute) {
      return add(column, BeanColumn.Form.INT32, 4, attribute, null, BeanColumn.Conversion.NONE);
    }

    Builder int64(String column, String attribute) {
      return add(column, BeanColumn.Form.INT64, 8, attribute, null, BeanColumn.Conversion.NONE);
    }

    Builder int64(String column, String attribute, String item) {
      return add(column, BeanColumn.Form.INT64, 8, attribute, item, BeanColumn.Conversion.NONE);
    }

    Builder milli(String column, String attribute) {
      return add(column, BeanColumn.Form.INT32, 4, attribute, null, BeanColumn.Conversion.MILLI);
    }

    Builder text(String column, int bytes, String attribute) {
      return add(column, BeanColumn.Form.TEXT, bytes, attribute, null, BeanColumn.Conversion.NONE);
    }

    Builder title(String column, int bytes) {
      return add(column, BeanColumn.Form.TEXT, bytes, null, null, BeanColumn.Conversion.NONE);
    }

    /** These attributes hardly change, or are expensive for what they tell. */
    Builder seldom(String... some) {
      for (String attribute : some) {
        seldom.add(attribute);
      }
      return this;
    }

    /** A bean that has this value among its attributes hardly changes. */
    Builder seldomWith(String value) {
      seldomValue = value;
      return this;
    }

    BeanTable build() {
      return new BeanTable(this);
    }

    private Builder add(
        String column,
        BeanColumn.Form form,
        int size,
        String attribute,
        String item,
        BeanColumn.Conversion conversion) {
      columns.add(new BeanColumn(column, form, size, attribute, item, conversion));
      return this;
    }
  }
}
