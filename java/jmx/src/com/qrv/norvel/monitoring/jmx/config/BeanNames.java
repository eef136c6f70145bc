package com.qrv.norvel.monitoring.jmx.config;

import javax.management.MalformedObjectNameException;
import javax.management.ObjectName;

/** The rule for names of MBeans: wildcards only in the properties, so that a domain is meant. */
final class BeanNames {
  private BeanNames() {}

  /** The value of the key 'mbean'. */
  static String checked(YamlMap map) throws ConfigException {
    String bean = map.required("mbean");
    try {
      if (new ObjectName(bean).isDomainPattern()) {
        throw map.error("mbean", "the domain of 'mbean' must be given without wildcards");
      }
    } catch (MalformedObjectNameException e) {
      throw map.error("mbean", "'mbean' must be an object name: " + e.getMessage());
    }
    return bean;
  }
}
