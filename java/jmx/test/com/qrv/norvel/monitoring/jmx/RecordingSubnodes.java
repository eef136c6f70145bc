package com.qrv.norvel.monitoring.jmx;

import com.qrv.norvel.monitoring.toolkit.agent.Subnode;
import com.qrv.norvel.monitoring.toolkit.agent.Subnodes;
import java.util.ArrayList;
import java.util.LinkedHashMap;
import java.util.List;
import java.util.Map;

/** Subnodes without an agent. */
final class RecordingSubnodes implements Subnodes {
  private final Map<String, Subnode> registered = new LinkedHashMap<>();

  @Override
  public synchronized boolean register(Subnode subnode) {
    return registered.putIfAbsent(subnode.name(), subnode) == null;
  }

  @Override
  public synchronized boolean renew(Subnode subnode) {
    return registered.replace(subnode.name(), subnode) != null;
  }

  @Override
  public synchronized boolean deregister(String name) {
    return registered.remove(name) != null;
  }

  @Override
  public synchronized List<String> registered() {
    return new ArrayList<>(registered.keySet());
  }

  synchronized Subnode get(String name) {
    return registered.get(name);
  }
}
