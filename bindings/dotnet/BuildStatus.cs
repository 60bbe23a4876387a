namespace SystemSearch
{
    /// <summary>The state of an engine's build.</summary>
    public enum BuildState
    {
        /// <summary>No build was started yet.</summary>
        Idle,
        /// <summary>A build loads the cache or reads the disk.</summary>
        Running,
        /// <summary>The build has ended, and the index is whole or limited.</summary>
        Ready,
        /// <summary>The build was cancelled; what it had found can be searched.</summary>
        Cancelled,
        /// <summary>The build failed, or could not be started.</summary>
        Failed,
    }

    /// <summary>How far a build is, or how it ended.</summary>
    public sealed class BuildStatus
    {
        internal BuildStatus(EngineStatus status, string? warning)
        {
            State = (BuildState)status.State;
            Entries = (int)status.Entries;
            Skipped = status.Skipped;
            IsLimited = status.Limited != 0;
            IsFromCache = status.FromCache != 0;
            Warning = warning;
        }

        /// <summary>The state of the build.</summary>
        public BuildState State { get; }

        /// <summary>Files and folders that can be found now.</summary>
        public int Entries { get; }

        /// <summary>Items that could not be indexed, or folders that could not be read.</summary>
        public long Skipped { get; }

        /// <summary>The index holds as many entries as it may, and there were more.</summary>
        public bool IsLimited { get; }

        /// <summary>The index was loaded from its cache file.</summary>
        public bool IsFromCache { get; }

        /// <summary>Why the cache file of a finished build could not be written; null if it could. The
        /// index is usable all the same.</summary>
        public string? Warning { get; }
    }
}
