package com.qrv.norvel.monitoring.toolkit.runtime;

import com.qrv.norvel.monitoring.toolkit.agent.Application;
import java.lang.reflect.InvocationTargetException;

/** The application whose class a system property names. */
final class NamedApplication implements ApplicationSource {
  static final String PROPERTY = "zel.application";

  private final String className;

  /**
   * @param className value of the property; may be null
   */
  NamedApplication(String className) {
    this.className = className;
  }

  @Override
  public Application create() throws Exception {
    if (className == null || className.isEmpty()) {
      throw new IllegalStateException(
          "no application is named: add -D" + PROPERTY + "=CLASS to the JVM options file");
    }
    Class<?> found;
    try {
      found = Class.forName(className, true, ClassLoader.getSystemClassLoader());
    } catch (ClassNotFoundException absent) {
      throw new IllegalStateException(
          "application class "
              + className
              + " is not on the class path, which is the first line of the JVM options file: "
              + System.getProperty("java.class.path"),
          absent);
    }
    if (!Application.class.isAssignableFrom(found)) {
      throw new IllegalStateException(
          "application class " + className + " does not implement " + Application.class.getName());
    }
    try {
      return (Application) found.getConstructor().newInstance();
    } catch (NoSuchMethodException | IllegalAccessException | InstantiationException unfit) {
      throw new IllegalStateException(
          "application class "
              + className
              + " must be public and have a public constructor without parameters",
          unfit);
    } catch (InvocationTargetException failed) {
      Throwable cause = failed.getCause();
      if (cause instanceof Exception) {
        throw (Exception) cause;
      }
      throw failed;
    }
  }
}
