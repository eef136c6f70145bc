package com.qrv.norvel.monitoring.fault;

import java.lang.reflect.InvocationHandler;
import java.lang.reflect.InvocationTargetException;
import java.lang.reflect.Method;
import java.util.ArrayList;
import java.util.List;
import java.util.Set;
import javax.management.Attribute;
import javax.management.AttributeList;
import javax.management.MBeanServer;
import javax.management.ObjectName;

/**
 * An MBean server whose reads of attributes hang, take long or fail, as the settings say; all else
 * passes through. The control bean is spared, so that the faults can be switched off again.
 */
final class FaultyReads implements InvocationHandler {
  /** What the agent's own actions call; the other operations of these beans load code, say. */
  private static final Set<String> OPERATIONS =
      Set.of(
          "java.lang:type=Memory gc", "com.sun.management:type=DiagnosticCommand gcClassHistogram");

  private final MBeanServer sound;
  private final FaultSettings settings;
  private final LongNames names;

  FaultyReads(MBeanServer sound, FaultSettings settings) {
    this.sound = sound;
    this.settings = settings;
    this.names = new LongNames(sound);
  }

  @Override
  public Object invoke(Object proxy, Method method, Object[] arguments) throws Throwable {
    switch (method.getName()) {
      case "getAttribute":
        return read((ObjectName) arguments[0], (String) arguments[1]);
      case "getAttributes":
        return read((ObjectName) arguments[0], (String[]) arguments[1]);
      case "queryNames":
        names.renew(settings.value(Mode.NAMES));
        return pass(method, arguments);
      case "invoke":
        checkOperation((ObjectName) arguments[0], (String) arguments[1]);
        return pass(method, arguments);
      case "createMBean":
      case "instantiate":
        // The port has no password: whoever finds it may look, but not bring code.
        throw new SecurityException("a fault target makes no objects for others");
      default:
        return pass(method, arguments);
    }
  }

  private static void checkOperation(ObjectName bean, String operation) {
    boolean isOwn = bean.getDomain().equals(Control.NAME.getDomain());
    if (!isOwn && !OPERATIONS.contains(bean.getCanonicalName() + ' ' + operation)) {
      throw new SecurityException("a fault target does not do " + operation + " for others");
    }
  }

  private Object read(ObjectName bean, String attribute) throws Exception {
    delay(bean, 1);
    Victim victim = victim(bean, attribute);
    if (victim == null) {
      return sound.getAttribute(bean, attribute);
    }
    return victim.read();
  }

  /** As every MBean server does, leaves out the attributes that can't be read. */
  private AttributeList read(ObjectName bean, String[] attributes) throws Exception {
    delay(bean, attributes.length);
    List<String> good = new ArrayList<>();
    AttributeList values = new AttributeList();
    for (String attribute : attributes) {
      Victim victim = victim(bean, attribute);
      if (victim == null) {
        good.add(attribute);
      } else if (victim.hasValue()) {
        values.add(new Attribute(attribute, victim.read()));
      }
    }
    values.addAll(sound.getAttributes(bean, good.toArray(new String[0])));
    return values;
  }

  private Victim victim(ObjectName bean, String attribute) {
    Victim victim = Victim.find(bean, attribute);
    return victim != null && settings.isOn(victim.mode()) ? victim : null;
  }

  private void delay(ObjectName bean, int attributes) throws InterruptedException {
    if (bean.equals(Control.NAME)) {
      return;
    }
    long slow = settings.value(Mode.SLOW);
    if (slow != Setting.OFF) {
      Thread.sleep(slow * attributes);
    }
    settings.awaitOff(Mode.HANG);
  }

  private Object pass(Method method, Object[] arguments) throws Throwable {
    try {
      return method.invoke(sound, arguments);
    } catch (InvocationTargetException e) {
      throw e.getCause();
    }
  }
}
