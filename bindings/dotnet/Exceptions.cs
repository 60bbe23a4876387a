using System;

namespace SystemSearch
{
    /// <summary>What every exception of this library is. The message is a sentence that a program may
    /// show as it is.</summary>
    public abstract class SystemSearchException : Exception
    {
        private protected SystemSearchException(string message, Exception? cause = null) : base(message, cause) { }
    }

    /// <summary>The library cannot be used in this process: another system, a 32-bit process, a missing
    /// or a wrong system_search.dll.</summary>
    public sealed class LibraryUnavailableException : SystemSearchException
    {
        internal LibraryUnavailableException(string message, Exception? cause) : base(message, cause) { }
    }

    /// <summary>A build failed or could not be started; the message is the library's reason.</summary>
    public sealed class BuildFailedException : SystemSearchException
    {
        internal BuildFailedException(string message) : base(message) { }
    }

    /// <summary>A search or a listing failed. The library keeps no reason.</summary>
    public sealed class QueryFailedException : SystemSearchException
    {
        internal QueryFailedException(string message) : base(message) { }
    }
}
