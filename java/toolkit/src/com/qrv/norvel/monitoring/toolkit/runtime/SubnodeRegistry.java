package com.qrv.norvel.monitoring.toolkit.runtime;

import com.qrv.norvel.monitoring.toolkit.agent.Subnode;
import com.qrv.norvel.monitoring.toolkit.agent.Subnodes;
import com.qrv.norvel.monitoring.toolkit.bridge.Keys;
import com.qrv.norvel.monitoring.toolkit.bridge.NotificationCode;
import java.util.ArrayList;
import java.util.HashMap;
import java.util.LinkedHashSet;
import java.util.List;

/**
 * The registered subnodes, as the native side will know them once it has read its notifications.
 *
 * <p>A notification is sent under the lock: if two threads changed one name at once, the other side
 * would otherwise end with the elder of the two changes. Sending only queues over there.
 */
final class SubnodeRegistry implements Subnodes {
  private final NotificationSender notifications;
  private final LinkedHashSet<String> names = new LinkedHashSet<String>(); // guarded by this

  SubnodeRegistry(NotificationSender notifications) {
    this.notifications = notifications;
  }

  @Override
  public synchronized boolean register(Subnode subnode) {
    if (names.contains(subnode.name())) {
      return false;
    }
    announce(subnode);
    names.add(subnode.name());
    return true;
  }

  @Override
  public synchronized boolean renew(Subnode subnode) {
    if (!names.contains(subnode.name())) {
      return false;
    }
    announce(subnode);
    return true;
  }

  @Override
  public synchronized boolean deregister(String name) {
    if (!names.contains(name)) {
      return false;
    }
    HashMap<Integer, Object> body = new HashMap<Integer, Object>();
    body.put(Keys.SubnodeDeregistered.NAME, name);
    notifications.send(NotificationCode.SUBNODE_DEREGISTERED, body);
    names.remove(name);
    return true;
  }

  @Override
  public synchronized List<String> registered() {
    return new ArrayList<String>(names);
  }

  private void announce(Subnode subnode) {
    HashMap<Integer, Object> body = new HashMap<Integer, Object>();
    body.put(Keys.SubnodeRegistered.NAME, subnode.name());
    body.put(Keys.SubnodeRegistered.AFFINITY, subnode.affinity());
    body.put(Keys.SubnodeRegistered.INFO, subnode.info());
    body.put(Keys.SubnodeRegistered.INFO_SUFFIX, subnode.infoSuffix());
    notifications.send(NotificationCode.SUBNODE_REGISTERED, body);
  }
}
