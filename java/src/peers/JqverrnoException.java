/** A function of the library answered a negative code. */
class JqverrnoException extends Exception {
  private static final long serialVersionUID = 1;

  /** The code; 0 where only the function is known. */
  public final int code;

  /** The function that answered. */
  public final String function;

  /**
   * Made by the natives.
   *
   * @param code a negative code, whose text becomes part of the message
   * @param function the function that answered it
   */
  public JqverrnoException(int code, String function) {
    super(function + ": " + Jqverrno.mesg(code));
    this.code = code;
    this.function = function;
  }

  /**
   * Made where there is no code to tell.
   *
   * @param function the function that failed
   */
  public JqverrnoException(String function) {
    super(function);
    this.code = 0;
    this.function = function;
  }
}
