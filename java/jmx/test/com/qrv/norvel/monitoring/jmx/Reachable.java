package com.qrv.norvel.monitoring.jmx;

import java.lang.reflect.Field;
import java.lang.reflect.Modifier;
import java.util.ArrayDeque;
import java.util.Arrays;
import java.util.Collection;
import java.util.Collections;
import java.util.IdentityHashMap;
import java.util.Map;
import java.util.Set;

/** Counts the objects of the application that can be reached from one, and what they hold. */
final class Reachable {
  private final String home = Reachable.class.getPackageName();
  private final Set<Object> seen = Collections.newSetFromMap(new IdentityHashMap<>());
  private final ArrayDeque<Object> due = new ArrayDeque<>();

  private Reachable() {}

  /** @param leftOut classes whose objects don't count, such as a log that keeps what it is told */
  static int count(Object root, Set<Class<?>> leftOut) throws IllegalAccessException {
    Reachable walk = new Reachable();
    walk.due.add(root);
    while (!walk.due.isEmpty()) {
      Object next = walk.due.remove();
      if (!leftOut.contains(next.getClass()) && walk.seen.add(next)) {
        walk.enter(next);
      }
    }
    return walk.seen.size();
  }

  private void enter(Object object) throws IllegalAccessException {
    if (object instanceof Map<?, ?> map) {
      addAll(map.keySet());
      addAll(map.values());
    } else if (object instanceof Collection<?> collection) {
      addAll(collection);
    } else if (object instanceof Object[] array) {
      addAll(Arrays.asList(array));
    } else {
      for (Class<?> type = object.getClass(); isOurs(type); type = type.getSuperclass()) {
        for (Field field : type.getDeclaredFields()) {
          if (!Modifier.isStatic(field.getModifiers()) && !field.getType().isPrimitive()) {
            field.setAccessible(true);
            addAll(Collections.singletonList(field.get(object)));
          }
        }
      }
    }
  }

  private boolean isOurs(Class<?> type) {
    return type.getName().startsWith(home);
  }

  private void addAll(Collection<?> values) {
    for (Object value : values) {
      if (value != null) {
        due.add(value);
      }
    }
  }
}
