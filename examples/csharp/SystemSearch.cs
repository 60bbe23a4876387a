// system_search.dll for .NET: handles that the collector frees, and records laid out as in C.
// What each function promises is written in system_search.h.
using System;
using System.Collections.Generic;
using System.Runtime.InteropServices;
using System.Text;

namespace SystemSearch
{
    public enum EngineState : uint { Idle, Running, Ready, Cancelled, Failed }

    public enum QueryState : uint { Running, Done, Cancelled, Failed }

    public enum Kind : uint { Any, File, Folder }

    [Flags]
    public enum Match : uint { Name = 0, Path = 1, Case = 2 }

    [StructLayout(LayoutKind.Sequential)]
    public struct EngineStatus
    {
        public EngineState State;
        public uint Entries;
        public uint Skipped;
        public uint Limited;
        public uint FromCache;
    }

    [StructLayout(LayoutKind.Sequential)]
    public struct QueryStatus
    {
        public QueryState State;
        public uint Matched;
        public uint Count;
        public uint IndexEntries;
        public uint IndexIncomplete;
    }

    [StructLayout(LayoutKind.Sequential)]
    public struct ResultMetadata
    {
        public ulong Size;
        public long Modified;
        public uint Flags;
        public uint Reserved;
    }

    /// <summary>One result of a query; what is not known is null.</summary>
    public sealed class Result
    {
        public string Path { get; internal set; }
        public Kind Kind { get; internal set; }
        public ulong? Size { get; internal set; }
        /// <summary>Seconds since 1970; in odd files beyond what DateTime can hold.</summary>
        public long? Modified { get; internal set; }
    }

    /// <summary>An index and the build that fills it. Disposing cancels the build.</summary>
    public sealed class Engine : SafeHandle
    {
        private Engine() : base(IntPtr.Zero, true) { }

        public override bool IsInvalid { get { return handle == IntPtr.Zero; } }

        public static Engine Create()
        {
            Engine engine = Native.ss_create();
            if (engine.IsInvalid) throw new OutOfMemoryException();
            return engine;
        }

        public bool Start(string scope, string cachePath = "", bool force = false)
        {
            return Native.ss_start(this, Native.Utf8(scope), Native.Utf8(cachePath),
                                   force ? 1 : 0) != 0;
        }

        public void Cancel() { Native.ss_cancel(this); }

        public EngineStatus Status
        {
            get
            {
                EngineStatus status;
                Native.ss_status(this, out status);
                return status;
            }
        }

        public string Error { get { return Native.Text(Native.ss_error(this)); } }

        public Query Search(string text, Match match = Match.Name, Kind kind = Kind.Any,
                            int limit = 1000)
        {
            return Query.Started(Native.ss_query(this, Native.Utf8(text), match, kind, limit));
        }

        protected override bool ReleaseHandle()
        {
            Native.ss_destroy(handle);
            return true;
        }
    }

    /// <summary>A running or finished search. Disposing cancels it.</summary>
    public sealed class Query : SafeHandle
    {
        private const uint SizeKnown = 1;
        private const uint ModifiedKnown = 2;

        private Query() : base(IntPtr.Zero, true) { }

        public override bool IsInvalid { get { return handle == IntPtr.Zero; } }

        /// <summary>Searches the immediate children of one folder.</summary>
        public static Query ListFolder(string folder, string text = "", Match match = Match.Name,
                                       Kind kind = Kind.Any, uint limit = 1000)
        {
            return Started(Native.ss_query_directory(Native.Utf8(folder), Native.Utf8(text), match,
                                                     kind, limit));
        }

        public QueryStatus Poll()
        {
            QueryStatus status;
            Native.ss_query_poll(this, out status);
            return status;
        }

        /// <summary>The results in order; none before the query is done.</summary>
        public IEnumerable<Result> Results()
        {
            uint count = Poll().Count;
            for (uint index = 0; index < count; ++index)
            {
                ResultMetadata metadata;
                Native.ss_query_metadata(this, index, out metadata);
                yield return new Result
                {
                    Path = Native.Text(Native.ss_query_path(this, index)),
                    Kind = Native.ss_query_kind(this, index),
                    Size = (metadata.Flags & SizeKnown) != 0 ? metadata.Size : (ulong?)null,
                    Modified = (metadata.Flags & ModifiedKnown) != 0
                        ? metadata.Modified
                        : (long?)null,
                };
            }
        }

        internal static Query Started(Query query)
        {
            if (query.IsInvalid) throw new InvalidOperationException("The query did not start.");
            return query;
        }

        protected override bool ReleaseHandle()
        {
            Native.ss_query_destroy(handle);
            return true;
        }
    }

    internal static class Native
    {
        private const string Library = "system_search";
        private const CallingConvention C = CallingConvention.Cdecl;

        [DllImport(Library, CallingConvention = C)]
        internal static extern Engine ss_create();
        [DllImport(Library, CallingConvention = C)]
        internal static extern int ss_start(Engine engine, byte[] scope, byte[] cache_path, int force);
        [DllImport(Library, CallingConvention = C)]
        internal static extern void ss_cancel(Engine engine);
        [DllImport(Library, CallingConvention = C)]
        internal static extern void ss_status(Engine engine, out EngineStatus status);
        [DllImport(Library, CallingConvention = C)]
        internal static extern IntPtr ss_error(Engine engine);
        [DllImport(Library, CallingConvention = C)]
        internal static extern void ss_destroy(IntPtr engine);
        [DllImport(Library, CallingConvention = C)]
        internal static extern Query ss_query(Engine engine, byte[] text, Match flags, Kind kind,
                                              int limit);
        [DllImport(Library, CallingConvention = C)]
        internal static extern Query ss_query_directory(byte[] directory, byte[] text, Match flags,
                                                        Kind kind, uint limit);
        [DllImport(Library, CallingConvention = C)]
        internal static extern void ss_query_poll(Query query, out QueryStatus status);
        [DllImport(Library, CallingConvention = C)]
        internal static extern IntPtr ss_query_path(Query query, uint index);
        [DllImport(Library, CallingConvention = C)]
        internal static extern Kind ss_query_kind(Query query, uint index);
        [DllImport(Library, CallingConvention = C)]
        internal static extern int ss_query_metadata(Query query, uint index,
                                                     out ResultMetadata metadata);
        [DllImport(Library, CallingConvention = C)]
        internal static extern void ss_query_destroy(IntPtr query);

        /// <summary>The text in UTF-8, with the NUL that ends it.</summary>
        internal static byte[] Utf8(string text) { return Encoding.UTF8.GetBytes(text + "\0"); }

        /// <summary>A copy of the library's NUL-terminated UTF-8 text.</summary>
        internal static string Text(IntPtr text)
        {
            if (text == IntPtr.Zero) return "";
            int length = 0;
            while (Marshal.ReadByte(text, length) != 0) ++length;
            var bytes = new byte[length];
            Marshal.Copy(text, bytes, 0, length);
            return Encoding.UTF8.GetString(bytes);
        }
    }
}
