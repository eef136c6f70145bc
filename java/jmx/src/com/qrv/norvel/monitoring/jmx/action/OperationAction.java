package com.qrv.norvel.monitoring.jmx.action;

import com.qrv.norvel.monitoring.jmx.link.Link;
import com.qrv.norvel.monitoring.jmx.monitored.TargetWork;
import java.util.List;
import java.util.Set;
import javax.management.InstanceNotFoundException;
import javax.management.ObjectName;

/** Calls one operation of one MBean. */
final class OperationAction implements TargetAction {
  private final Operation operation;

  OperationAction(Operation operation) {
    this.operation = operation;
  }

  @Override
  public String word() {
    return operation.word();
  }

  @Override
  public String usage() {
    return operation.usage();
  }

  @Override
  public String description() {
    return operation.description();
  }

  @Override
  public TargetWork<String> work(List<String> words) {
    List<Argument> arguments = operation.arguments();
    if (words.size() != arguments.size()) {
      throw new IllegalArgumentException(
          "it takes " + arguments.size() + " arguments, not " + words.size());
    }
    Object[] values = new Object[words.size()];
    String[] signature = new String[words.size()];
    for (int i = 0; i < values.length; i++) {
      Argument argument = arguments.get(i);
      signature[i] = argument.type().signature();
      try {
        values[i] = argument.valueOf(words.get(i));
      } catch (IllegalArgumentException e) {
        throw new IllegalArgumentException(
            "argument " + (i + 1) + ", " + argument.name() + ": " + e.getMessage(), e);
      }
    }
    return link -> {
      ObjectName bean = bean(link);
      return ResultText.of(
          link.server().invoke(bean, operation.operation(), values, signature));
    };
  }

  private ObjectName bean(Link link) throws Exception {
    ObjectName name = new ObjectName(operation.bean());
    if (!name.isPattern()) {
      return name;
    }
    Set<ObjectName> names = link.server().queryNames(name, null);
    if (names.size() != 1) {
      throw new InstanceNotFoundException(
          names.isEmpty()
              ? "it has no MBean " + name
              : names.size() + " MBeans match " + name + "; the action needs exactly one");
    }
    return names.iterator().next();
  }
}
