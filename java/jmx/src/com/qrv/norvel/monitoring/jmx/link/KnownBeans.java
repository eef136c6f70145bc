package com.qrv.norvel.monitoring.jmx.link;

import com.qrv.norvel.monitoring.jmx.table.BeanReads;
import com.qrv.norvel.monitoring.jmx.table.Rhythm;
import java.util.Arrays;
import java.util.HashMap;
import java.util.Map;
import javax.management.ObjectName;

/** The beans of one table at one connection, as they were found last. */
final class KnownBeans {
  /** New beans are found after so long, which costs one call for each pattern. */
  private static final long SEARCH_MILLIS = 60_000;

  final KnownBean[] beans;
  final BeanReads reads;

  /** The attributes that are read for each sample, and their places among all. */
  final String[] often;

  final int[] oftenPlaces;
  private final long foundMillis;

  /** @param before what was known until now, or null: beans that are still there are kept */
  KnownBeans(
      ObjectName[] found, BeanReads reads, KnownBeans before, long nowMillis) {
    this.reads = reads;
    foundMillis = nowMillis;
    String[] attributes = reads.attributes();
    int[] places = new int[attributes.length];
    int count = 0;
    for (int i = 0; i < attributes.length; i++) {
      if (reads.rhythms()[i] == Rhythm.EACH_SAMPLE) {
        places[count++] = i;
      }
    }
    oftenPlaces = Arrays.copyOf(places, count);
    often = new String[count];
    for (int i = 0; i < count; i++) {
      often[i] = attributes[places[i]];
    }
    Map<ObjectName, KnownBean> byName = new HashMap<>();
    for (KnownBean bean : before == null ? new KnownBean[0] : before.beans) {
      byName.put(bean.name(), bean);
    }
    beans = new KnownBean[found.length];
    for (int i = 0; i < found.length; i++) {
      KnownBean known = byName.get(found[i]);
      beans[i] = known == null ? new KnownBean(found[i]) : known;
    }
  }

  /** Whether nothing of a bean is read for each sample. */
  boolean isSeldom(KnownBean bean) {
    return often.length == 0 || (reads.seldomValue() != null && bean.has(reads.seldomValue()));
  }

  /** Whether they are to be looked for again. None yet may be some later. */
  boolean isStale(long nowMillis) {
    return beans.length == 0 || nowMillis - foundMillis >= SEARCH_MILLIS;
  }
}
