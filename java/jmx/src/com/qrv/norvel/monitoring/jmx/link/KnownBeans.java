package com.qrv.norvel.monitoring.jmx.link;

import com.qrv.norvel.monitoring.jmx.table.BeanReads;
import com.qrv.norvel.monitoring.jmx.table.Rhythm;
import java.util.HashMap;
import java.util.Map;
import javax.management.ObjectName;

/** The beans of one table at one connection, as they were found last. */
final class KnownBeans {
  /** New beans are found after so long, which costs one call for each pattern. */
  private static final long SEARCH_MILLIS = 60_000;

  final KnownBean[] beans;
  final BeanReads reads;
  private final long foundMillis;
  private final boolean hasOften;
  private boolean isExpired;
  private String failure; // what went wrong last, or null

  /** @param before what was known until now, or null: beans that are still there are kept */
  KnownBeans(ObjectName[] found, BeanReads reads, KnownBeans before, long nowMillis) {
    this.reads = reads;
    foundMillis = nowMillis;
    boolean often = false;
    for (Rhythm rhythm : reads.rhythms()) {
      often |= rhythm == Rhythm.EACH_SAMPLE;
    }
    hasOften = often;
    Map<ObjectName, KnownBean> byName = new HashMap<>();
    for (KnownBean bean : before == null ? new KnownBean[0] : before.beans) {
      if (!bean.isGone()) {
        byName.put(bean.name(), bean);
      }
    }
    beans = new KnownBean[found.length];
    for (int i = 0; i < found.length; i++) {
      KnownBean known = byName.get(found[i]);
      beans[i] = known == null ? new KnownBean(found[i], attributes()) : known;
    }
  }

  ObjectName[] names() {
    ObjectName[] names = new ObjectName[beans.length];
    for (int i = 0; i < names.length; i++) {
      names[i] = beans[i].name();
    }
    return names;
  }

  int attributes() {
    return reads.attributes().length;
  }

  String attribute(int place) {
    return reads.attributes()[place];
  }

  /** Whether an attribute is read for each sample. */
  boolean isOften(int place) {
    return reads.rhythms()[place] == Rhythm.EACH_SAMPLE;
  }

  /** Whether nothing of a bean is read for each sample. */
  boolean isSeldom(KnownBean bean) {
    return !hasOften || (reads.seldomValue() != null && bean.has(reads.seldomValue()));
  }

  /** Has them looked for again. */
  void expire() {
    isExpired = true;
  }

  /** Whether they are to be looked for again. None yet may be some later. */
  boolean isStale(long nowMillis) {
    return isExpired || beans.length == 0 || nowMillis - foundMillis >= SEARCH_MILLIS;
  }

  void failed(String what) {
    failure = what;
  }

  /** What went wrong last since they were found, or null. */
  String failure() {
    return failure;
  }
}
