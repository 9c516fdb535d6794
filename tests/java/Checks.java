import java.lang.reflect.InvocationTargetException;
import java.lang.reflect.Method;
import java.util.Arrays;
import java.util.Objects;

/** What tests are made of: static methods whose names begin with "test". */
class Checks {
  interface Call {
    Object run() throws Exception;
  }

  private static int failures;

  /** Runs the tests of a class and ends the program: with 1 when one failed. */
  static void run(Class<?> tests) throws Exception {
    int count = 0;
    for (Method test : tests.getDeclaredMethods()) {
      if (!test.getName().startsWith("test")) continue;
      count++;
      int before = failures;
      try {
        test.setAccessible(true);
        test.invoke(null);
      } catch (InvocationTargetException e) {
        e.getCause().printStackTrace(System.out);
        failures++;
      }
      if (failures != before) System.out.println("in " + test.getName());
    }
    System.out.println(count + " tests, " + failures + " failures");
    System.exit(count == 0 || failures > 0 ? 1 : 0);
  }

  static void fail(String what) {
    System.out.println("failed: " + what);
    failures++;
  }

  static void equal(String what, Object wanted, Object got) {
    if (!Objects.deepEquals(wanted, got)) fail(what + ": " + text(got) + ", not " + text(wanted));
  }

  /** The exception of a call: its code and function, or "none". */
  static void thrown(String what, int code, String function, Call call) throws Exception {
    String got = "none";
    try {
      call.run();
    } catch (JqverrnoException e) {
      got = e.code + " " + e.function;
    }
    equal(what, code + " " + function, got);
  }

  private static String text(Object o) {
    String inArray = Arrays.deepToString(new Object[] {o});
    return inArray.substring(1, inArray.length() - 1);
  }
}
